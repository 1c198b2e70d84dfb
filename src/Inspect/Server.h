#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include <httplib.h>

#include "Inspect/Inspector.h"

namespace Inspect {

/// Serves the page and the answers to this machine only. All addresses begin with a random token that nobody can guess;
/// requests from pages of other origins, and by other names of this machine, are refused.
class Server {
public:
    /// `end` is called when the page asks for the end; it brings about a Stop.
    Server(Inspector& inspector, std::function<void()> end);
    /// Port 0: any. Empty when it listens, else why not.
    std::string Listen(std::uint16_t port);
    /// Where the page is; after Listen.
    [[nodiscard]] std::string Address() const;
    /// Answers until Stop.
    void Run() { m_server.listen_after_bind(); }
    /// From any thread.
    void Stop() { m_server.stop(); }

private:
    /// Everything is answered here but what has a body: nothing of the server's file handling is used. False for that.
    bool Route(const httplib::Request& request, httplib::Response& response);
    /// Empty without the token.
    [[nodiscard]] std::string_view PathBelowToken(const httplib::Request& request) const;
    void Close(httplib::Response& response);

    Inspector& m_inspector;
    const std::function<void()> m_end;
    const std::string m_token;
    httplib::Server m_server;
    int m_port = 0;
};

} // namespace Inspect
