// playback-trim: cuts frames out of a capture, so that they can be replayed without those in front.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "Data/Capture/CaptureWriter.h"
#include "Interfaces/Core.h"
#include "Replay/StatusLine.h"
#include "Trim/Trimmer.h"
#include "Util/CommandLine.h"
#include "Util/ExitStatus.h"
#include "Util/FrameRange.h"
#include "Util/OutputFile.h"

namespace {

using Util::ExitStatus;
using Util::FrameRange;

constexpr Util::Option Options[] = {
    {"--frames", "A-B",
     "frames to keep, counted from 1, both included; A- keeps all from A on, the calls after the last frame included, "
     "A only that one",
     "Options"},
    {"--call", "FRAME:CALL",
     "keep only this call, numbered as playback-info --dump does, and of the state what it depends on", "Options"},
    {"-o", "FILE", "capture to write", "Options"},
    {"--continued", "", "further files will continue OUT.glcap: keep what only they may refer to", "Options"},
    {"--help", "", "print this text", "Options"},
    {"--version", "", "print the version", "Options"},
};
constexpr const char* Usage =
    "Usage: playback-trim IN.glcap [CONTINUED.glcap...] --frames A-B -o OUT.glcap\n"
    "       playback-trim IN.glcap --call FRAME:CALL -o OUT.glcap\n"
    "\n"
    "Writes a capture of frames A to B of another one, with a state-setup block in front that\n"
    "brings all objects to the state that they have at frame A. Replays the frames before A\n"
    "off screen to learn what they drew. The frames keep their times.\n"
    "With --call, the frame has that call alone, a draw for example, and the block what is needed for it:\n"
    "what it reads, and what it draws over.\n"
    "\n"
    "Several files are read as one capture where each goes on where the one in front of it ends, as\n"
    "those do that playback-record keeps while it records and cuts at the same time.";

void Say(const std::string& text)
{
    Core::Console::Print(Core::LogNotice, false, "playback-trim: %s", text.c_str());
}

ExitStatus Fail(ExitStatus status, const std::string& text)
{
    Say(text);
    return status;
}

/// What to keep.
struct Part {
    FrameRange range;
    /// Of the only frame; 0: all calls.
    std::uint32_t call = 0;
    bool isContinued = false;

    [[nodiscard]] std::string Text(std::uint32_t last) const
    {
        return call != 0 ? "call " + std::to_string(range.first) + ":" + std::to_string(call)
                         : "frames " + std::to_string(range.first) + " to " + std::to_string(last);
    }
};

ExitStatus WriteTrimmed(Data::CaptureSource& source, const std::string& input, const std::string& output,
                        const Part& part)
{
    const FrameRange& range = part.range;
    Data::Diagnostics diagnostics(input, [](const std::string& line) { Say(line); });
    const std::uint32_t last = std::min(range.last, source.FrameCount());
    const auto tooShort = [&] {
        return Fail(ExitStatus::Unreadable, input + ": could not be read up to " +
                                                (part.call != 0 ? part.Text(last) : "frame " + std::to_string(last)) +
                                                "; nothing was written");
    };
    // Errors that the program made are part of the capture.
    Core::Log::SetLevel(0);
    std::string error;
    std::optional<Replay::StatusLine> status(false);
    Trim::Trimmer trimmer(source, diagnostics, range,
                          [&](std::uint32_t frame) { status->Update(frame, range.first - 1, frame, false); });
    trimmer.SetCall(part.call);
    if (part.isContinued)
        trimmer.SetContinued();
    {
        const auto replay = Replay::LiveReplay::Create("", diagnostics, error);
        if (!replay)
            return Fail(ExitStatus::NoDriver, error);
        if (!trimmer.Analyse(*replay))
            return tooShort();
    }
    status.reset();
    Util::OutputFile file(output);
    if (!file.Open())
        return Fail(ExitStatus::NotWritten, file.Error());
    Data::CaptureHeader header = Trim::HeaderOfPart(source.Header(), input, range.first);
    const auto writer = Data::CaptureWriter::Create(file.TemporaryPath(), header, error);
    const bool isWhole = writer && trimmer.Write(*writer, header);
    if (writer) {
        writer->UpdateHeader(header);
        writer->Finish(error);
    }
    if (!writer || !error.empty()) {
        const bool isNamed = error.starts_with(file.TemporaryPath());
        return Fail(ExitStatus::NotWritten,
                    output + (isNamed ? error.substr(file.TemporaryPath().size()) : ": " + error));
    }
    if (!isWhole)
        return tooShort();
    if (!file.Commit())
        return Fail(ExitStatus::NotWritten, file.Error());
    diagnostics.Summary();
    for (const std::string& what : trimmer.Missing())
        Say("the default framebuffer's contents are written without " + what);
    Say(output + ": " + part.Text(last) + " of " + input);
    return ExitStatus::Done;
}

/// "57:12": a frame and a call of it.
std::optional<Part> ParseCall(std::string_view text)
{
    const std::size_t colon = std::min(text.find(':'), text.size());
    const std::uint32_t frame = Util::ParseCount(text.substr(0, colon));
    const std::uint32_t call = Util::ParseCount(text.substr(std::min(colon + 1, text.size())));
    return frame != 0 && call != 0 ? std::optional(Part{{frame, frame}, call}) : std::nullopt;
}

/// What is wrong with the command line; empty when it can be followed.
std::string ReadPart(const Util::ParseArgs::CmdLineArgs& args, Part& part)
{
    if (args.positional.empty())
        return "no capture file given";
    const std::string* const frames = args.FindValue("--frames");
    const std::string* const call = args.FindValue("--call");
    const std::string* const output = args.FindValue("-o");
    if (frames && call)
        return "--frames and --call do not go together";
    if ((!frames && !call) || !output)
        return output ? "--frames or --call is missing" : "-o is missing";
    const std::optional<Part> only = call ? ParseCall(*call) : std::nullopt;
    if (call && !only)
        return "--call needs FRAME:CALL, both from 1, found \"" + *call + "\"";
    part = only.value_or(Part());
    std::string error;
    Util::ReadFrameRange(args, "--frames", part.range, error);
    part.isContinued = args.HasSwitch("--continued");
    if (error.empty() && (std::ranges::find(args.positional, "-") != args.positional.end() || *output == "-"))
        error = "a capture is read from a file and written to one, not from standard input or to standard output";
    return error;
}

ExitStatus Run(int argc, char** argv)
{
    const Util::CommandLine commandLine(Options);
    const Util::CommandLine::Result parsed = commandLine.Parse(argc, argv);
    Part part;
    if (const std::optional<ExitStatus> answered = Util::AnswerCommandLine("playback-trim", Usage, commandLine, parsed,
                                                                           [&] { return ReadPart(parsed.args, part); }))
        return *answered;
    std::string error;
    FrameRange& range = part.range;
    const std::string& output = *parsed.args.FindValue("-o");
    const std::string& input = parsed.args.positional.front();
    const std::unique_ptr<Data::CaptureSource> source = Data::CaptureSource::Open(input, error);
    for (const std::string& next : std::span(parsed.args.positional).subspan(1))
        error = source && error.empty() ? source->Continue(next) : error;
    if (!error.empty())
        return Fail(ExitStatus::Unreadable, error);
    const std::string count = input + ": has " + std::to_string(source->FrameCount()) + " frames";
    // What comes after the last frame has calls too.
    if (range.first > source->FrameCount() + (part.call != 0 ? 1 : 0))
        return Fail(ExitStatus::Usage, count + ", expected at least " + std::to_string(range.first));
    // A capture that breaks off has no more than its whole frames.
    if (part.call == 0 && range.last > source->FrameCount() &&
        (range.last != FrameRange::NoEnd || !source->IsComplete())) {
        if (range.last != FrameRange::NoEnd)
            Say(count + "; cut up to the last one");
        range.last = source->FrameCount();
    }
    std::error_code none;
    for (const std::string& file : parsed.args.positional)
        if (std::filesystem::equivalent(file, output, none))
            return Fail(ExitStatus::Usage, output + ": is the capture that is read");
    return WriteTrimmed(*source, input, output, part);
}

} // namespace

int main(int argc, char** argv)
{
    return Util::EndProgram("playback-trim", Run(argc, argv));
}
