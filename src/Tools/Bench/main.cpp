// playback-bench: how long frames take, and which of two sides is slower.
#include <algorithm>
#include <chrono>
#include <cstdio>

#include <unistd.h>

#include "Data/Capture/CaptureSource.h"
#include "Tools/Bench/BenchText.h"
#include "Util/OutputFile.h"

namespace {

using Util::ExitStatus;

ExitStatus Fail(ExitStatus status, const std::string& text)
{
    std::fprintf(stderr, "playback-bench: %s\n", text.c_str());
    return status;
}

/// A line on the terminal that tells how many rounds are over and how long the others will take.
class Progress {
public:
    explicit Progress(std::uint32_t rounds) : m_rounds(rounds) {}
    ~Progress()
    {
        if (m_isTerminal)
            std::fputs("\r\033[K", stderr);
    }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Show(std::uint32_t done) const
    {
        if (!m_isTerminal)
            return;
        std::fprintf(stderr, "\r\033[Kround %u of %u", done + 1, m_rounds);
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - m_start;
        if (done != 0)
            std::fprintf(stderr, ", %.0f s left", taken.count() / done * (m_rounds - done));
    }

private:
    std::uint32_t m_rounds;
    bool m_isTerminal = isatty(STDERR_FILENO) != 0;
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
        const Progress progress(options.rounds);
        const auto show = [&](std::uint32_t done) { progress.Show(done); };
        if (const Util::Outcome failure = Tools::Measure(options, frames, show, measurement))
            return Fail(failure->status, failure->message);
    }
    const Tools::Comparison comparison = Tools::Compare(measurement, options.confidence);
    if (options.jsonFile != "-")
        Util::Print(Tools::BenchText(options, measurement, comparison));
    if (!options.jsonFile.empty()) {
        const std::string json = Tools::BenchJson(options, measurement, comparison);
        const std::string error = options.jsonFile == "-" ? "" : Util::WriteWholeFile(options.jsonFile, json);
        if (options.jsonFile == "-")
            Util::Print(json);
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
    if (const auto* const answer = std::get_if<Tools::BenchAnswer>(&parsed)) {
        if (answer->status == ExitStatus::Done)
            Util::Print(answer->text);
        else
            std::fputs(answer->text.c_str(), stderr);
        return Util::EndProgram("playback-bench", answer->status);
    }
    return Util::EndProgram("playback-bench", Run(std::get<Tools::BenchOptions>(parsed)));
}
