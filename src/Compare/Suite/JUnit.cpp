#include <array>
#include <cstdio>

#include "Compare/ResultText.h"
#include "Compare/Suite/Markup.h"
#include "Compare/Suite/SuiteFiles.h"

namespace Compare {

namespace {

std::string Seconds(double seconds)
{
    std::array<char, 32> text = {};
    std::snprintf(text.data(), text.size(), "%.3f", seconds);
    return text.data();
}

std::string Attribute(const char* name, const std::string& value)
{
    return std::string(" ") + name + "=\"" + Escape(value) + "\"";
}

std::string Counts(const SuiteCounts& counts)
{
    return Attribute("tests", std::to_string(counts.all)) + Attribute("failures", std::to_string(counts.different)) +
           Attribute("errors", std::to_string(counts.broken)) + Attribute("time", Seconds(counts.seconds));
}

} // namespace

SuiteCounts::SuiteCounts(const std::vector<SuiteCase>& cases) : all(cases.size())
{
    for (const SuiteCase& one : cases) {
        different += one.verdict == SuiteCase::Verdict::Different ? 1 : 0;
        broken += one.verdict == SuiteCase::Verdict::Broken ? 1 : 0;
        seconds += one.seconds;
    }
}

std::string SuiteCounts::Text() const
{
    const std::string captures = std::to_string(all) + (all == 1 ? " capture" : " captures");
    std::string text = different == 0 && broken == 0
                           ? captures + " equal"
                           : std::to_string(different) + " of " + captures + (different == 1 ? " differs" : " differ");
    return broken == 0 ? text : text + ", " + std::to_string(broken) + " could not be compared";
}

std::string ToJUnit(const SuiteRequest& request, const std::vector<SuiteCase>& cases)
{
    const SuiteCounts counts(cases);
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites" +
                      Attribute("name", "playback-compare") + Counts(counts) + ">\n  <testsuite" +
                      Attribute("name", request.folder) + Counts(counts) + ">\n";
    for (const SuiteCase& one : cases) {
        xml += "    <testcase" + Attribute("classname", "playback-compare") + Attribute("name", one.name) +
               Attribute("time", Seconds(one.seconds));
        if (one.verdict == SuiteCase::Verdict::Equal) {
            xml += "/>\n";
            continue;
        }
        const bool isDifferent = one.verdict == SuiteCase::Verdict::Different;
        const std::string element = isDifferent ? "failure" : "error";
        xml += ">\n      <" + element + Attribute("type", isDifferent ? "different" : "not compared") +
               Attribute("message", one.Text()) + ">" +
               Escape(isDifferent ? ToText(one.result, one.request) : one.problem) + "</" + element +
               ">\n    </testcase>\n";
    }
    return xml + "  </testsuite>\n</testsuites>\n";
}

} // namespace Compare
