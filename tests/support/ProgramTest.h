// Captures written by a test and replayed by the program itself.
#pragma once

#include <array>
#include <cstdio>
#include <sys/wait.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/TestCapture.h"

namespace Data {

class ProgramTest : public CaptureTest {
protected:
    /// Display, config, context and window, all called 1 and current. The window is 4 by 4 pixels, of the newer entry
    /// point, which the driver has none for off screen.
    void Begin()
    {
        Call(CallId::eglGetDisplay, 1, 1);
        Call(CallId::eglInitialize, 1, 1, 0, 0);
        const std::int32_t attribs[] = {0x3024, 8, 0x3023, 8, 0x3022, 8, 0x3021, 8, 0x3033, 1, Enum::EglNone};
        writer->ConfigAttribs(1, 1, attribs, std::size(attribs));
        MakeContext(1);
        Call(CallId::eglCreatePlatformWindowSurface, 1, 1, 1, 1, std::vector<std::int64_t>{Enum::EglNone});
        writer->WindowSize(1, 1, 4, 4);
        MakeCurrent(1);
    }
    /// A context of OpenGL ES 1.1 is current from here on.
    void UseFixedFunctions()
    {
        Call(CallId::eglCreateContext, 11, 1, 1, 0, std::vector<std::int32_t>{0x3098, 1, 0x30FB, 1, Enum::EglNone});
        MakeCurrent(11);
    }
    void MakeContext(std::uint32_t context, std::uint32_t share = 0)
    {
        Call(CallId::eglCreateContext, context, 1, 1, share, std::vector<std::int32_t>{0x3098, 3, Enum::EglNone});
    }
    void MakeCurrent(std::uint32_t context) { Call(CallId::eglMakeCurrent, 1, 1, 1, 1, context); }

    struct Result {
        /// Exit status; -1 when a signal ended the program.
        int status;
        std::string output;
    };
    /// Replays the capture off screen, with everything that the log can tell.
    Result Run(const std::string& options)
    {
        if (writer && !writer->Failed())
            Finish();
        const std::string command = "env -u WAYLAND_DISPLAY -u DISPLAY " PLAYBACK_PROGRAM " -headless -loglevel 4 " +
                                    options + " " + path + " 2>&1";
        std::FILE* const pipe = popen(command.c_str(), "r");
        Result result{-1, {}};
        if (!pipe)
            return result;
        std::array<char, 4096> buffer;
        while (const std::size_t got = std::fread(buffer.data(), 1, buffer.size(), pipe))
            result.output.append(buffer.data(), got);
        const int status = pclose(pipe);
        result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return result;
    }
};

} // namespace Data
