// playback-trim: cuts frames out of a capture, so that they can be replayed without those in front.
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>

#include "Data/CaptureWriter.h"
#include "Interfaces/Core.h"
#include "Trim/Trimmer.h"
#include "Util/CommandLine.h"
#include "Util/ExitStatus.h"
#include "Util/FrameRange.h"

namespace {

using Util::ExitStatus;
using Util::FrameRange;

constexpr Util::Option options[] = {
    {"--frames", "A-B", "frames to keep, counted from 1, both included; a single number keeps one frame", "Options"},
    {"-o", "FILE", "capture to write", "Options"},
    {"--help", "", "print this text", "Options"},
    {"--version", "", "print the version", "Options"},
};
constexpr const char* usage =
    "Usage: playback-trim IN.glcap --frames A-B -o OUT.glcap\n"
    "\n"
    "Writes a capture of frames A to B of another one, with a state-setup block in front that\n"
    "brings all objects to the state that they have at frame A. Replays the frames before A\n"
    "off screen to learn what they drew.";

void Say(const std::string& text)
{
    std::fprintf(stderr, "playback-trim: %s\n", text.c_str());
}

int Fail(ExitStatus status, const std::string& text)
{
    Say(text);
    return static_cast<int>(status);
}

int WriteTrimmed(Data::CaptureSource& source, const std::string& input, const std::string& output, FrameRange range)
{
    Data::Diagnostics diagnostics(input, [](const std::string& line) { Say(line); });
    const auto tooShort = [&] {
        return Fail(ExitStatus::Unreadable,
                    input + ": could not be read up to frame " + std::to_string(range.last) + "; nothing was written");
    };
    // Errors that the program made are part of the capture.
    Core::Log::SetLevel(0);
    std::string error;
    Trim::Trimmer trimmer(source, diagnostics, range);
    {
        const auto replay = Trim::LiveReplay::Create(diagnostics, error);
        if (!replay)
            return Fail(ExitStatus::NoDriver, error);
        if (!trimmer.Analyse(*replay))
            return tooShort();
    }
    Data::CaptureHeader header = source.Header();
    header.toolVersion = PLAYBACK_VERSION;
    const auto writer = Data::CaptureWriter::Create(output, header, error);
    if (!writer)
        return Fail(ExitStatus::Differed, error);
    const bool isWhole = trimmer.Write(*writer, header);
    writer->UpdateHeader(header);
    const std::uint32_t frames = writer->Frames();
    if (!writer->Finish(error))
        return Fail(ExitStatus::Differed, error);
    if (!isWhole) {
        std::filesystem::remove(output);
        return tooShort();
    }
    diagnostics.Summary();
    for (const std::string& what : trimmer.Missing())
        Say("the default framebuffer's contents are written without " + what);
    Say(output + ": frames " + std::to_string(range.first) + " to " + std::to_string(range.first + frames - 1) +
        " of " + input);
    return static_cast<int>(ExitStatus::Done);
}

} // namespace

int main(int argc, char** argv)
{
    const Util::CommandLine commandLine(options);
    const Util::CommandLine::Result parsed = commandLine.Parse(argc, argv);
    if (parsed.args.HasSwitch("--help")) {
        std::fputs(commandLine.Help(usage).c_str(), stdout);
        return static_cast<int>(ExitStatus::Done);
    }
    if (parsed.args.HasSwitch("--version")) {
        std::puts("playback-trim " PLAYBACK_VERSION);
        return static_cast<int>(ExitStatus::Done);
    }
    const std::string* const frames = parsed.args.FindValue("--frames");
    const std::string* const output = parsed.args.FindValue("-o");
    const std::optional<FrameRange> range = frames ? Util::ParseFrameRange(*frames) : FrameRange{};
    std::string error = parsed.error;
    if (error.empty() && parsed.args.positional.size() != 1)
        error = parsed.args.positional.empty() ? "no file is given" : "more than one file is given";
    if (error.empty() && (!frames || !output))
        error = frames ? "-o is missing" : "--frames is missing";
    if (error.empty() && !range)
        error = "--frames needs A-B with A from 1 and B not below A";
    if (!error.empty()) {
        std::fprintf(stderr, "playback-trim: %s\n%s\n", error.c_str(), usage);
        return static_cast<int>(ExitStatus::Usage);
    }

    const std::string& input = parsed.args.positional.front();
    const std::unique_ptr<Data::CaptureSource> source = Data::CaptureSource::Open(input, error);
    if (!source)
        return Fail(ExitStatus::Unreadable, error);
    if (range->last > source->FrameCount())
        return Fail(ExitStatus::Usage, input + ": has " + std::to_string(source->FrameCount()) +
                                           " frames, expected at least " + std::to_string(range->last));
    std::error_code none;
    if (std::filesystem::equivalent(input, *output, none))
        return Fail(ExitStatus::Usage, *output + ": is the capture that is read");
    return WriteTrimmed(*source, input, *output, *range);
}
