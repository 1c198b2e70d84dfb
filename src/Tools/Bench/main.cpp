// playback-bench: how long frames take, and which of two sides is slower.
#include <chrono>
#include <cmath>
#include <functional>

#include "Data/Capture/CaptureSource.h"
#include "Tools/Bench/BenchText.h"
#include "Util/OutputFile.h"
#include "Util/ProgressLine.h"

namespace {

using Util::ExitStatus;

constexpr const char* Program = "playback-bench";
const auto Fail = std::bind_front(Util::Fail, Program);

/// How many rounds are over, and how long the others will take.
class Progress {
public:
    explicit Progress(std::uint32_t rounds) : m_rounds(rounds) {}

    void Show(std::uint32_t done)
    {
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - m_start;
        const double left = done != 0 ? taken.count() / done * (m_rounds - done) : 0;
        m_line.Show("round " + std::to_string(done + 1) + " of " + std::to_string(m_rounds) +
                    (done != 0 ? ", " + std::to_string(std::lround(left)) + " s left" : ""));
    }

private:
    std::uint32_t m_rounds;
    Util::ProgressLine m_line;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

/// Which frames of the capture are measured.
Util::Outcome FindFrames(const Tools::BenchOptions& options, Util::FrameRange& frames)
{
    std::string error;
    const auto source = Data::CaptureSource::Open(options.captureFile, error);
    if (!source)
        return Util::Failure{ExitStatus::Unreadable, error};
    const std::uint32_t count = source->FrameCount();
    frames = options.frames.value_or(Util::FrameRange{count > 1 ? 2U : 1U, Util::FrameRange::NoEnd});
    const bool isOpen = frames.last == Util::FrameRange::NoEnd;
    const std::uint32_t needed = isOpen ? frames.first : frames.last;
    if (needed > count) {
        return Util::Failure{ExitStatus::Usage, options.captureFile + ": has " + std::to_string(count) +
                                                    " frames, expected at least " + std::to_string(needed)};
    }
    frames.last = isOpen ? count : frames.last;
    return std::nullopt;
}

ExitStatus Run(const Tools::BenchOptions& options)
{
    Util::FrameRange frames;
    if (const Util::Outcome failure = FindFrames(options, frames))
        return Fail(failure->status, failure->message);
    Tools::Measurement measurement;
    {
        Progress progress(options.rounds);
        const auto show = [&](std::uint32_t done) { progress.Show(done); };
        if (const Util::Outcome failure = Tools::Measure(options, frames, show, measurement))
            return Fail(failure->status, failure->message);
    }
    const Tools::Comparison comparison = Tools::Compare(measurement, options.confidence);
    if (options.jsonFile != "-")
        Util::Print(Tools::BenchText(options, measurement, comparison));
    if (!options.jsonFile.empty()) {
        const std::string error =
            Util::WriteResult(options.jsonFile, Tools::BenchJson(options, measurement, comparison));
        if (!error.empty())
            return Fail(ExitStatus::NotWritten, "cannot write " + error);
    }
    const bool isTooSlow = options.limit && comparison.wall.ratio && comparison.wall.ratio->low > 1 + *options.limit;
    return isTooSlow ? ExitStatus::Differed : ExitStatus::Done;
}

} // namespace

int main(int argc, char** argv)
{
    const auto parsed = Tools::ParseBenchOptions(argc, argv);
    const auto* const options = std::get_if<Tools::BenchOptions>(&parsed);
    return Util::EndProgram(Program, options ? Run(*options) : std::get<ExitStatus>(parsed));
}
