#include "Compare/Suite/SuiteCommand.h"

#include <functional>
#include <thread>

#include "Compare/ResultText.h"
#include "Compare/Suite/SuiteFiles.h"
#include "Util/FrameRange.h"
#include "Util/OutputFile.h"

namespace Compare {

namespace {

using Util::ExitStatus;

std::string Line(const SuiteCase& one)
{
    constexpr const char* Words[] = {"equal", "different", "not compared"};
    const std::string text = one.Text();
    return std::string(Words[static_cast<std::size_t>(one.verdict)]) + ": " + one.name +
           (text.empty() ? "" : ": " + text) + "\n";
}

std::string ToJson(const std::vector<SuiteCase>& cases)
{
    nlohmann::ordered_json json = nlohmann::ordered_json::array();
    for (const SuiteCase& one : cases) {
        nlohmann::ordered_json entry = one.verdict == SuiteCase::Verdict::Broken
                                           ? nlohmann::ordered_json{{"verdict", "broken"}, {"problem", one.problem}}
                                           : ToJson(one.result, one.request);
        entry["name"] = one.name;
        entry["seconds"] = one.seconds;
        json.push_back(std::move(entry));
    }
    return json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

/// Differences are what is looked for; without any, what could not be compared decides.
ExitStatus StatusOf(const std::vector<SuiteCase>& cases)
{
    ExitStatus status = ExitStatus::Done;
    for (const SuiteCase& one : cases) {
        if (one.verdict == SuiteCase::Verdict::Different)
            return ExitStatus::Differed;
        if (status == ExitStatus::Done)
            status = one.status;
    }
    return status;
}

} // namespace

std::string ReadSuite(const Util::ParseArgs::CmdLineArgs& args, SuiteRequest& request)
{
    request.folder = *args.FindValue("--suite");
    if (!args.positional.empty())
        return "--suite compares the captures of its folder and no other, found " + args.positional[0];
    if (args.FindValue("-o"))
        return "-o is for one capture; --page has the pictures of a suite";
    if (const std::string* const shard = args.FindValue("--shard")) {
        const std::size_t slash = shard->find('/');
        request.shard = Util::ParseCount(shard->substr(0, slash));
        request.shards = slash != std::string::npos ? Util::ParseCount(shard->substr(slash + 1)) : 0;
        if (request.shard == 0 || request.shard > request.shards)
            return "--shard needs I/N with I from 1 to N, found \"" + *shard + "\"";
    }
    request.jobs = std::max(1U, std::thread::hardware_concurrency());
    if (const std::string* const jobs = args.FindValue("--jobs")) {
        request.jobs = Util::ParseCount(*jobs);
        if (request.jobs == 0 || request.jobs > 1024)
            return "--jobs needs a number from 1 to 1024, found \"" + *jobs + "\"";
    }
    return "";
}

ExitStatus CompareSuite(const SuiteRequest& request, const Util::ParseArgs::CmdLineArgs& args)
{
    const auto fail = std::bind_front(Util::Fail, "playback-compare");
    std::string error;
    const std::vector<std::string> captures = FindCaptures(request, error);
    if (!error.empty())
        return fail(ExitStatus::Unreadable, error);
    const std::string* const json = args.FindValue("--json");
    const bool isQuiet = args.HasSwitch("--quiet") || (json && *json == "-");
    const std::vector<SuiteCase> cases = RunSuite(request, captures, [&](const SuiteCase& one) {
        if (!isQuiet)
            Util::Print(Line(one));
    });
    if (!isQuiet)
        Util::Print(SuiteCounts(cases).Text() + "\n");
    const auto write = [&](const char* option, const auto& make) {
        const std::string* const file = args.FindValue(option);
        if (file && error.empty())
            error = Util::WriteResult(*file, make());
    };
    write(
        "--junit", [&] { return ToJUnit(request, cases); });
    write(
        "--page", [&] { return ToPage(request, cases); });
    write("--json", [&] { return ToJson(cases); });
    return error.empty() ? StatusOf(cases) : fail(ExitStatus::NotWritten, error);
}

} // namespace Compare
