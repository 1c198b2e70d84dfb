#include "Recorder/Launcher/Wanted.h"

namespace Recorder {

namespace {

std::string ReadCount(const Util::ParseArgs::CmdLineArgs& args, const char* option, std::uint32_t& count)
{
    const std::string* const text = args.FindValue(option);
    count = text != nullptr ? Util::ParseCount(*text) : count;
    return text == nullptr || count != 0 ? ""
                                         : std::string(option) + ": expected a number from 1 on, found '" + *text + "'";
}

} // namespace

std::string ReadWanted(const Util::ParseArgs::CmdLineArgs& args, Wanted& wanted)
{
    wanted.hash = args.HasSwitch("--hash");
    if (const std::string* const what = args.FindValue("--hash")) {
        if (*what != "frames" && *what != "draws")
            return "--hash: expected frames or draws, found '" + *what + "'";
        wanted.hashDraws = *what == "draws";
    }
    wanted.isPaused = args.HasSwitch("--start-paused");
    if (const std::string* const frames = args.FindValue("--frames")) {
        const std::uint32_t count = Util::ParseCount(*frames);
        const auto range = count != 0 ? Util::FrameRange{1, count} : Util::ParseFrameRange(*frames);
        if (!range)
            return "--frames: expected N, A-B or A-, numbers from 1 on and B not below A, found '" + *frames + "'";
        wanted.frames = *range;
    }
    std::string error = ReadCount(args, "--last", wanted.last);
    error = error.empty() ? ReadCount(args, "--snapshot", wanted.snapshot) : error;
    const int choices =
        (args.FindValue("--frames") != nullptr ? 1 : 0) + (wanted.isPaused ? 1 : 0) + (wanted.last != 0 ? 1 : 0);
    if (error.empty() && choices > 1)
        error = "--frames, --start-paused and --last each say from when to when: expected one of them";
    return error;
}

} // namespace Recorder
