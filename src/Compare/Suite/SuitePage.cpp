#include <array>
#include <cstdio>

#include "Compare/Pages.h"
#include "Compare/ResultText.h"
#include "Compare/Suite/Markup.h"
#include "Compare/Suite/SuiteFiles.h"
#include "Util/Page.h"

namespace Compare {

namespace {

constexpr const char* Words[] = {"equal", "different", "broken"};

const char* WordFor(const SuiteCase& one)
{
    return Words[static_cast<std::size_t>(one.verdict)];
}

std::string Seconds(double seconds)
{
    std::array<char, 32> text = {};
    std::snprintf(text.data(), text.size(), "%.1f s", seconds);
    return text.data();
}

/// `text` is no markup.
std::string Element(const std::string& name, const std::string& kind, std::string_view text)
{
    return "<" + name + (kind.empty() ? "" : " class=\"" + kind + "\"") + ">" + Escape(text) + "</" + name + ">\n";
}

std::string Failure(const SuiteCase& one, std::size_t number)
{
    std::string html = "<section id=\"capture" + std::to_string(number) + "\">\n" + Element("h2", "", one.name) +
                       Element("p", WordFor(one), one.Text());
    if (!one.pictures.empty())
        html += "<div class=\"pictures\">\n";
    for (const SuiteCase::Picture& picture : one.pictures)
        html += "<figure><img alt=\"" + Escape(picture.caption) + "\" src=\"data:image/png;base64," +
                Util::Base64(picture.png) + "\">" + Element("figcaption", "", picture.caption) + "</figure>\n";
    if (!one.pictures.empty())
        html += "</div>\n";
    if (one.verdict == SuiteCase::Verdict::Different)
        html += "<details><summary>More of it</summary>" + Element("pre", "", ToText(one.result, one.request)) +
                "</details>\n";
    return html + "</section>\n";
}

std::string Row(const SuiteCase& one, std::size_t number)
{
    const std::string name = one.verdict == SuiteCase::Verdict::Equal
                                 ? Escape(one.name)
                                 : "<a href=\"#capture" + std::to_string(number) + "\">" + Escape(one.name) + "</a>";
    return "<tr><td>" + name + "</td>" + Element("td", WordFor(one), WordFor(one)) + "<td class=\"number\">" +
           std::to_string(one.result.framesCompared) + "</td><td class=\"number\">" + Seconds(one.seconds) +
           "</td></tr>\n";
}

} // namespace

std::string ToPage(const SuiteRequest& request, const std::vector<SuiteCase>& cases)
{
    const SuiteCounts counts(cases);
    const Sides::Side& side = request.each.b ? *request.each.b : request.each.a;
    const char* const verdict = counts.different != 0 ? "different" : counts.broken != 0 ? "broken" : "equal";
    std::string html = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                       "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n" +
                       Element("title", "", counts.Text()) + "<style>" + std::string(Pages::suite) +
                       "</style>\n</head>\n<body>\n" + Element("h1", verdict, counts.Text());
    html += Element("p", "quiet",
                    request.folder + (request.shards > 1 ? ", shard " + std::to_string(request.shard) + " of " +
                                                               std::to_string(request.shards)
                                                         : ""));
    html += Element(
        "p", "quiet",
        "Expected: " + (request.each.b ? "side A, " + request.each.a.Description() : "what the captures have stored") +
            ". Found by side " + side.name + ": " + side.Description() + ".");
    for (std::size_t i = 0; i < cases.size(); ++i)
        if (cases[i].verdict != SuiteCase::Verdict::Equal)
            html += Failure(cases[i], i + 1);
    html += "<table>\n<thead><tr><th>Capture</th><th>Result</th><th class=\"number\">Frames</th>"
            "<th class=\"number\">Time</th></tr></thead>\n<tbody>\n";
    for (std::size_t i = 0; i < cases.size(); ++i)
        html += Row(cases[i], i + 1);
    return html + "</tbody>\n</table>\n</body>\n</html>\n";
}

} // namespace Compare
