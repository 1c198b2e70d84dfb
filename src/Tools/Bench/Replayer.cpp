#include "Tools/Bench/Replayer.h"

#include <algorithm>

#include <nlohmann/json.hpp>

namespace Tools {

namespace {

std::vector<std::string> Command(const BenchOptions& options, const Sides::Side& side, Util::FrameRange frames)
{
    const std::string first = std::to_string(frames.first);
    const std::string last = std::to_string(frames.last);
    std::vector<std::string> command = {Sides::ProgramBesideThis("playback"),
                                        "-turns",
                                        "-quiet",
                                        "-json",
                                        "-",
                                        "-loopframe",
                                        first,
                                        "-stopframe",
                                        last,
                                        "-measureframes",
                                        first + "-" + last};
    // The screen's pace is not the driver's.
    if (options.isInWindow)
        command.insert(command.end(), {"-swapinterval", "0"});
    else
        command.emplace_back("-headless");
    if (options.timesCalls)
        command.emplace_back("-timecalls");
    if (options.timesGpu)
        command.insert(command.end(), {"-timegpu", "passes"});
    for (const std::string& option : side.PlaybackOptions())
        command.push_back(option);
    command.emplace_back("--");
    command.push_back(options.captureFile);
    return command;
}

Util::ExitStatus StatusOf(int status)
{
    const bool isKnown =
        status >= static_cast<int>(Util::ExitStatus::Usage) && status <= static_cast<int>(Util::ExitStatus::NotWritten);
    // One that died, or one that says that all is well and does not go on.
    return isKnown ? static_cast<Util::ExitStatus>(status) : Util::ExitStatus::CutShort;
}

} // namespace

std::unique_ptr<Replayer> Replayer::Start(const BenchOptions& options, const Sides::Side& side, Util::FrameRange frames,
                                          Util::Failure& failure)
{
    std::string error;
    auto child = Sides::Child::Start(Command(options, side, frames), side.environment, error);
    if (!child) {
        failure = {Util::ExitStatus::NoDriver, error};
        return nullptr;
    }
    return std::unique_ptr<Replayer>(new Replayer(std::move(child), side.name));
}

Util::Outcome Replayer::Replay()
{
    if (!m_child->Write("go\n"))
        return Trouble();
    const std::optional<std::string> answer = m_child->ReadLine();
    return answer && answer->starts_with("pass ") ? Util::Outcome() : Trouble();
}

Util::Outcome Replayer::Finish(ReplayResults& results)
{
    m_child->CloseInput();
    const std::string json = m_child->ReadRest();
    if (!ReadResults(json, results))
        return Trouble();
    m_child->Wait();
    return std::nullopt;
}

Util::Failure Replayer::Trouble()
{
    m_child->CloseInput();
    static_cast<void>(m_child->ReadRest());
    const int status = m_child->Wait();
    std::string said = m_child->Messages();
    while (said.ends_with('\n'))
        said.pop_back();
    return {StatusOf(status), "side " + m_side + " ended with status " + std::to_string(status) +
                                  (said.empty() ? ", and said nothing" : ", and said:\n" + said)};
}

namespace {

/// Of "gpu" in what `playback -json` wrote.
void ReadGpuTimes(const nlohmann::json& gpu, ReplayResults& results)
{
    if (gpu.at("unavailable").is_string())
        gpu.at("unavailable").get_to(results.gpuUnavailable);
    results.gpuMs.resize(results.frames.size());
    for (const auto& cost : gpu.at("passes")) {
        const std::size_t pass = cost.at("pass").get<std::size_t>();
        if (pass < 2 || pass - 2 >= results.gpuMs.size() || cost.at("gpuMs").is_null())
            continue;
        const RenderPass renderPass = {cost.at("frame").get<std::uint32_t>(),
                                       cost.at("renderPass").get<std::uint32_t>(),
                                       cost.at("framebuffer").get<std::uint32_t>()};
        results.gpuMs[pass - 2][renderPass] = cost.at("gpuMs").get<double>();
    }
}

} // namespace

bool ReadResults(const std::string& text, ReplayResults& results)
{
    const nlohmann::json json = nlohmann::json::parse(text, nullptr, false);
    try {
        for (const auto& frame : json.at("measured")) {
            const std::size_t pass = frame.at("pass").get<std::size_t>();
            if (pass < 2)
                continue;
            results.frames.resize(std::max(results.frames.size(), pass - 1));
            results.frames[pass - 2].push_back({frame.at("wallMs").get<double>(), frame.at("cpuMs").get<double>()});
        }
        json.at("driver").get_to(results.driver);
        if (json.at("errors").is_object())
            json.at("errors").get_to(results.errors);
        if (json.at("callTimesMs").is_object())
            json.at("callTimesMs").get_to(results.callsMs);
        if (json.contains("gpu") && json["gpu"].is_object())
            ReadGpuTimes(json["gpu"], results);
    } catch (const nlohmann::json::exception&) {
        return false;
    }
    return true;
}

} // namespace Tools
