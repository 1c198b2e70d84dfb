#include "Inspect/Server.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

#include <sys/random.h>

#include "Inspect/Error.h"
#include "Inspect/Page.h"
#include "Inspect/Queries/Query.h"

namespace Inspect {

namespace {

constexpr const char* ThisMachine = "127.0.0.1";
constexpr int Refused = 403;
constexpr int NotFound = 404;
constexpr int BadRequest = 400;
constexpr int ReplayFailed = 502;

/// 128 random bits as hexadecimal digits.
std::string MakeToken()
{
    unsigned char bytes[16];
    if (getrandom(bytes, sizeof bytes, 0) != static_cast<ssize_t>(sizeof bytes))
        throw RequestError(std::string("no random numbers: ") + std::strerror(errno));
    std::string token;
    for (const unsigned char byte : bytes) {
        constexpr char Digits[] = "0123456789abcdef";
        token += Digits[byte >> 4];
        token += Digits[byte & 15];
    }
    return token;
}

/// Takes as long for a token that is nearly right as for another one.
bool IsEqual(std::string_view a, std::string_view b)
{
    unsigned char difference = a.size() != b.size() ? 1 : 0;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
        difference |= static_cast<unsigned char>(a[i] ^ b[i]);
    return difference == 0;
}

/// "127.0.0.1:8000": whatever the port, which is another one at the near end of a tunnel. A name that somebody else may
/// let point here is none of these.
bool IsThisMachine(std::string_view host)
{
    const std::string_view name = host.substr(0, host.find(':', host.starts_with('[') ? host.find(']') : 0));
    return name == ThisMachine || name == "localhost" || name == "[::1]";
}

void SetHeaders(httplib::Response& response)
{
    response.set_header("Content-Security-Policy",
                        "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob: data:; "
                        "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'");
    response.set_header("Cross-Origin-Resource-Policy", "same-origin");
    response.set_header("Cross-Origin-Opener-Policy", "same-origin");
    response.set_header("Referrer-Policy", "no-referrer");
    response.set_header("X-Content-Type-Options", "nosniff");
    response.set_header("Cache-Control", "no-store");
}

void Refuse(httplib::Response& response, int status, const std::string& text, const Json& details = Json::object())
{
    Json json = {{"error", text}};
    json.update(details);
    response.status = status;
    response.set_content(Text(json) + "\n", "application/json");
}

void SendPage(std::string_view path, httplib::Response& response)
{
    const std::string_view name = path == "/" ? "index.html" : path.substr(1);
    const auto file = std::ranges::find(Page::files, name, &Page::File::name);
    if (file == Page::files.end())
        return Refuse(response, NotFound, "there is no such page");
    const char* const type = name.ends_with(".js") ? "javascript" : name.ends_with(".css") ? "css" : "html";
    response.set_content(file->contents.data(), file->contents.size(), std::string("text/") + type + "; charset=utf-8");
}

Parameters ParametersOf(const httplib::Request& request)
{
    return {request.params.begin(), request.params.end()};
}

template <class Make> void Respond(httplib::Response& response, Make make)
{
    try {
        const Answer answer = make();
        for (const auto& [header, value] : answer.headers)
            response.set_header(header, value);
        response.set_content(answer.body, answer.type);
    } catch (const RequestError& error) {
        Refuse(response, BadRequest, error.what(), error.Details());
    } catch (const ReplayError& error) {
        Refuse(response, ReplayFailed, error.what());
    }
}

} // namespace

Server::Server(Inspector& inspector, std::function<void()> end)
    : m_inspector(inspector), m_end(std::move(end)), m_token(MakeToken())
{
    m_server.set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
        SetHeaders(response);
        return Route(request, response) ? httplib::Server::HandlerResponse::Handled
                                        : httplib::Server::HandlerResponse::Unhandled;
    });
    // Shader sources; who sends them was let through by Route.
    constexpr std::size_t MostBody = std::size_t{16} << 20;
    m_server.set_payload_max_length(MostBody);
    m_server.Post(R"(/\w+/api/edits)", [this](const httplib::Request& request, httplib::Response& response) {
        Respond(response, [&] { return SetEdits(m_inspector, ParametersOf(request), request.body); });
    });
    m_server.set_keep_alive_max_count(10'000);
    // Browsers keep several connections open, each of which occupies a thread.
    constexpr std::size_t Threads = 12;
    m_server.new_task_queue = [] { return new httplib::ThreadPool(Threads); };
}

std::string Server::Listen(std::uint16_t port)
{
    m_port = port != 0 ? port : m_server.bind_to_any_port(ThisMachine);
    const bool isBound = port != 0 ? m_server.bind_to_port(ThisMachine, port) : m_port > 0;
    return isBound ? "" : "cannot listen on port " + std::to_string(port) + ": " + std::strerror(errno);
}

std::string Server::Address() const
{
    return "http://" + std::string(ThisMachine) + ":" + std::to_string(m_port) + "/" + m_token + "/";
}

bool Server::Route(const httplib::Request& request, httplib::Response& response)
{
    const std::string origin = request.get_header_value("Origin");
    const std::string host = request.get_header_value("Host");
    if (!IsThisMachine(host) || request.get_header_value_count("Host") != 1)
        Refuse(response, Refused, "this server answers as " + std::string(ThisMachine) + " and localhost only");
    else if (request.has_header("Origin") && origin != "http://" + host)
        Refuse(response, Refused, "pages of other origins are not answered");
    else if (const std::string_view path = PathBelowToken(request); path.empty())
        Refuse(response, Refused, "the address does not have this server's token");
    else if (request.method == "POST" && path == "/api/close")
        Close(response);
    else if (request.method == "POST" && path == "/api/edits")
        return false;
    else if (request.method != "GET")
        Refuse(response, NotFound, "there is nothing to do there");
    else if (path.starts_with("/api/"))
        Respond(response, [&, name = std::string(path.substr(std::strlen("/api/")))] {
            return Ask(m_inspector, name, ParametersOf(request));
        });
    else
        SendPage(path, response);
    return true;
}

std::string_view Server::PathBelowToken(const httplib::Request& request) const
{
    const std::string_view path = request.path;
    const std::size_t end = path.find('/', 1);
    return path.starts_with('/') && end != std::string_view::npos && IsEqual(path.substr(1, end - 1), m_token)
               ? path.substr(end)
               : std::string_view();
}

void Server::Close(httplib::Response& response)
{
    response.set_content("{}\n", "application/json");
    m_end();
}

} // namespace Inspect
