// How recordings end, and who may end them.

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "Client.h"
#include "ClientContext.h"
#include "RecordedClient.h"

namespace Recorder {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

/// Frames until something ends the program.
[[noreturn]] void DrawForEver(const ClientContext& current)
{
    for (;;) {
        glClear(GL_COLOR_BUFFER_BIT);
        eglSwapBuffers(current.display, current.surface);
        usleep(1000);
    }
}

CLIENT(IgnoresSigterm)
{
    std::signal(SIGTERM, SIG_IGN);
    DrawForEver(ClientContext());
}

TEST_F(RecorderTest, FramesEndsAProgramThatIgnoresSignals)
{
    EXPECT_EQ(Record("IgnoresSigterm", "--frames 3").status, 0);
    EXPECT_THAT(Dump("-- end of frame", "capture.glcap"), SizeIs(3));
}

CLIENT(HandlesSigterm)
{
    const ClientContext current;
    std::signal(SIGTERM, [](int) { _exit(write(STDOUT_FILENO, "handled\n", 8) == 8 ? 5 : 6); });
    DrawForEver(current);
}

/// Records a client and sends a signal to playback-record when frames have been written.
std::string RecordAndSend(const std::string& signal, const std::string& client)
{
    return PLAYBACK_RECORD " -o capture.glcap -- $PROGRAM --client " + client +
           " & recorder=$!; until " PLAYBACK_INFO
           " --dump capture.recording-*/* 2> /dev/null | grep -q 'end of frame'; do kill -0 $recorder && sleep 0.1 || "
           "exit; done; kill -" +
           signal + " $recorder; wait $recorder";
}

TEST_F(RecorderTest, AProgramsOwnHandlerIsLeftAlone)
{
    const Outcome outcome = Run(RecordAndSend("TERM", "HandlesSigterm"));
    EXPECT_EQ(outcome.out, "handled\n");
    EXPECT_EQ(outcome.status, 5);
}

CLIENT(DrawsForEver)
{
    DrawForEver(ClientContext());
}

TEST_F(RecorderTest, SignalsEndARecordingThatIsComplete)
{
    for (const char* const signal : {"HUP", "TERM"}) {
        const Outcome outcome = Run(RecordAndSend(signal, "DrawsForEver"));
        EXPECT_EQ(outcome.status, 0);
        EXPECT_THAT(outcome.err, Not(HasSubstr("missing"))) << signal;
        std::filesystem::remove(folder / "capture.glcap");
    }
}

/// Before its first call, the client enters a sandbox that ends programs which try to reach another process.
CLIENT(EntersASandbox)
{
    sock_filter filter[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_socket, 0, 1),
                            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS),
                            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    const sock_fprog program = {std::size(filter), filter};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
        std::puts("no sandbox");
        return 0;
    }
    const ClientContext current;
    glClear(GL_COLOR_BUFFER_BIT);
    return 0;
}

TEST_F(RecorderTest, ASandboxIsNoHindrance)
{
    const Outcome outcome = Record("EntersASandbox");
    if (outcome.out == "no sandbox\n")
        GTEST_SKIP() << "there are no sandboxes under this kernel or emulator";
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(Dump("glClear", "capture.glcap"), SizeIs(1));
}

/// Calls of each thread that have returned, in a file that outlives the program.
struct ReturnedCalls {
    std::atomic<unsigned> lineWidth;
    std::atomic<unsigned> clearDepth;
};

/// Two threads that count their calls, with uploads of all sizes in between, until the program is ended in the way that
/// the environment names.
CLIENT(IsEndedAtAnyMoment)
{
    const int file = open("returned", O_RDWR | O_CREAT, 0600);
    if (ftruncate(file, sizeof(ReturnedCalls)) != 0)
        return 1;
    auto& returned =
        *static_cast<ReturnedCalls*>(mmap(nullptr, sizeof(ReturnedCalls), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0));
    const auto work = [](std::atomic<unsigned>& count, auto call) {
        const ClientContext current;
        const std::vector<char> data(3 << 20);
        for (unsigned i = 0;; ++i) {
            call(static_cast<float>(i % 100));
            ++count;
            glBufferData(GL_ARRAY_BUFFER, i % 50 == 0 ? 3 << 20 : i * 64 % 5000, data.data(), GL_STATIC_DRAW);
        }
    };
    std::thread([&] {
        work(
            returned.lineWidth, [](float value) { glLineWidth(value); });
    }).detach();
    std::thread([&] { work(returned.clearDepth, [](float value) { glClearDepthf(value); }); }).detach();
    while (returned.lineWidth == 0 || returned.clearDepth == 0)
        usleep(1000);
    usleep(static_cast<useconds_t>(std::atoi(std::getenv("AFTER_US"))));
    const int signal = std::atoi(std::getenv("SIGNAL"));
    signal == 0 ? _exit(3) : static_cast<void>(kill(getpid(), signal));
    pause();
    return 0;
}

TEST_F(RecorderTest, WhateverEndsTheProgramLosesNoCall)
{
    const char* const times = std::getenv("PLAYBACK_TEST_ENDS");
    for (int i = 0, count = times != nullptr ? std::atoi(times) : 6; i < count; ++i) {
        const int signal = std::array{SIGKILL, SIGSEGV, 0}[static_cast<std::size_t>(i % 3)];
        Run("rm -f returned capture*");
        const Outcome outcome = Run("ulimit -c 0; AFTER_US=" + std::to_string(10'000 + i * 7919 % 100'000) +
                                    " SIGNAL=" + std::to_string(signal) +
                                    " " PLAYBACK_RECORD " -o capture.glcap $PROGRAM --client IsEndedAtAnyMoment");
        EXPECT_EQ(outcome.status, signal == 0 ? 3 : 128 + signal) << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr(signal == 0 ? "ended with status 3, without its exit handlers"
                                                       : std::string("died by SIG") + sigabbrev_np(signal)));
        ReturnedCalls returned = {};
        std::ifstream((folder / "returned").string()).read(reinterpret_cast<char*>(&returned), sizeof returned);
        for (const auto& [call, made] : {std::pair("glLineWidth", returned.lineWidth.load()),
                                         std::pair("glClearDepthf", returned.clearDepth.load())}) {
            const auto recorded = static_cast<unsigned>(Dump(call, "capture.glcap").size());
            // One may have returned and not been counted, and one more be under way.
            EXPECT_THAT(recorded, testing::AllOf(testing::Ge(made), testing::Le(made + 2))) << call << ", run " << i;
        }
    }
}

/// A pointer that leads nowhere, on which the driver would die as well.
CLIENT(PassesABadPointer)
{
    const ClientContext current;
    glClear(GL_COLOR_BUFFER_BIT);
    // NOLINTNEXTLINE(performance-no-int-to-ptr): it points nowhere on purpose.
    glBufferSubData(GL_ARRAY_BUFFER, 16, 4096, reinterpret_cast<const void*>(0x1000));
    return 0;
}

TEST_F(RecorderTest, ABadPointerIsNamedWithItsCall)
{
    const Outcome outcome =
        Run("ulimit -c 0; " PLAYBACK_RECORD " -o capture.glcap $PROGRAM --client PassesABadPointer");
    EXPECT_EQ(outcome.status, 128 + SIGSEGV);
    EXPECT_THAT(outcome.err, HasSubstr("died by SIGSEGV in glBufferSubData"));
    EXPECT_THAT(Dump("glBufferSubData", "capture.glcap"), ElementsAre(HasSubstr("size=4096, data=0x1000")));
}

CLIENT(Forks)
{
    const ClientContext current;
    glClear(1);
    const pid_t child = fork();
    if (child == 0) {
        glClear(2);
        eglSwapBuffers(current.display, current.surface);
        std::exit(0);
    }
    waitpid(child, nullptr, 0);
    glClear(4);
    return 0;
}

TEST_F(RecorderTest, AForkedChildWritesNothing)
{
    EXPECT_EQ(Record("Forks").status, 0);
    EXPECT_THAT(Dump("glClear", "capture.glcap"), ElementsAre("glClear(mask=0x1)", "glClear(mask=0x4)"));
}

CLIENT(StartsItself)
{
    const ClientContext current;
    glClear(1);
    return std::system("$PROGRAM --client DrawsOnce") == 0 ? 0 : 1;
}

CLIENT(DrawsOnce)
{
    const ClientContext current;
    glClear(2);
    return 3;
}

TEST_F(RecorderTest, AProgramStartedByTheProgramHasACaptureOfItsOwn)
{
    const Outcome outcome = Record("StartsItself");
    EXPECT_THAT(Dump("glClear", "capture.glcap"), ElementsAre("glClear(mask=0x1)"));
    EXPECT_THAT(outcome.err, HasSubstr("capture.2.glcap"));
    EXPECT_THAT(Dump("glClear", "capture.2.glcap"), ElementsAre("glClear(mask=0x2)"));
    // Of a program that draws nothing itself, it is the recording; and what is there keeps its name.
    EXPECT_THAT(Run(PLAYBACK_RECORD " -o capture.2.glcap sh -c '$PROGRAM --client DrawsOnce; exit 0'").err,
                HasSubstr("sh itself made no OpenGL ES call"));
    // Of several, it is the first one with frames.
    const std::string several = PLAYBACK_RECORD " -o capture.2.glcap sh -c '$PROGRAM --client DrawsOnce; "
                                                "$PROGRAM --client EveryWayToAFunction'";
    EXPECT_THAT(
        Run(several).err,
        testing::ContainsRegex("2 of 2 processes[^\n]*\n[^\n]*\n +1 .* capture.2.glcap +ended\n +0 .*2.2.glcap"));
    EXPECT_THAT(Dump("glClear", "capture.2.glcap"), SizeIs(6));
}

TEST_F(RecorderTest, ProgramsOfOthersAreRecordedSideBySide)
{
    const std::string variables = "env $(cat variables) ";
    const std::string killed = "AFTER_US=10000 SIGNAL=9 $PROGRAM --client IsEndedAtAnyMoment; ";
    const Outcome outcome =
        Run(PLAYBACK_RECORD " --serve served > variables & server=$!; until test -s variables; do sleep 0.02; done; " +
            variables + "$PROGRAM --client DrawsOnce & " + variables + killed +
            "wait $!; " PLAYBACK_RECORD " --serve served; echo $?; kill -TERM $server; wait $server; echo $?; " +
            variables + "$PROGRAM --client DrawsOnce; cd served; ls | wc -l; ls -A | grep -v glcap");
    EXPECT_EQ(outcome.out, "6\n0\n3\n") << outcome.err;
    EXPECT_THAT(outcome.err, testing::AllOf(HasSubstr("2 of 2 processes"), HasSubstr("was killed"),
                                            HasSubstr("another playback-record serves this folder")));
    // What another recording has put in place meanwhile stays.
    Run(PLAYBACK_RECORD " -o capture.glcap sh -c '" PLAYBACK_RECORD
                        " -o capture.glcap $PROGRAM --client DrawsOnce; $PROGRAM --client EveryWayToAFunction'");
    EXPECT_THAT(Dump("glClear", "capture.glcap"), SizeIs(1));
    EXPECT_THAT(Dump("glClear", "capture.2.glcap"), SizeIs(6));
}

TEST_F(RecorderTest, OnlyACaptureReplacesACapture)
{
    const std::string others = "cat capture.1.glcap capture.2026.glcap; ls -d capture*";
    Run("echo old > capture.glcap; echo one > capture.1.glcap; echo year > capture.2026.glcap");
    for (const char* const command : {"./no-such-program", "true", "sh -c 'kill -SEGV $$'"}) {
        Run(PLAYBACK_RECORD " -o capture.glcap " + std::string(command));
        EXPECT_EQ(Run("cat capture.glcap; " + others).out,
                  "old\none\nyear\ncapture.1.glcap\ncapture.2026.glcap\ncapture.glcap\n");
    }
    Run("mv capture.glcap elsewhere; chmod 640 elsewhere; ln -s elsewhere capture.glcap");
    EXPECT_EQ(Record("DrawsOnce").status, 3);
    EXPECT_EQ(Run("stat -c %A elsewhere capture.glcap; " + others).out,
              "-rw-r-----\nlrwxrwxrwx\none\nyear\ncapture.1.glcap\ncapture.2026.glcap\ncapture.glcap\n");
    EXPECT_THAT(Dump("glClear", "elsewhere"), SizeIs(1));
}

CLIENT(DrawsMuch)
{
    const ClientContext current;
    for (int i = 0; i < 1000; ++i) {
        std::vector<unsigned> noise(1 << 14);
        std::ranges::generate(noise,
                              [state = i * 7919U + 1]() mutable { return state = state * 1664525U + 1013904223U; });
        glBufferData(GL_ARRAY_BUFFER, 1 << 16, noise.data(), GL_STATIC_DRAW);
        eglSwapBuffers(current.display, current.surface);
    }
    return 0;
}

TEST_F(RecorderTest, ACaptureThatCannotBeWrittenWholeIsKeptAndTold)
{
    // As on a disk that is full after some megabytes.
    const std::string record = "ulimit -f 8192; " PLAYBACK_RECORD " -o capture.glcap --frames 900 "
                               "$PROGRAM --client DrawsMuch";
    Run("echo old > capture.glcap");
    const Outcome outcome = Run(record);
    EXPECT_EQ(outcome.status, 6);
    EXPECT_THAT(outcome.err, testing::AllOf(HasSubstr("capture.2.glcap: "), HasSubstr("ends early: cannot write")));
    EXPECT_EQ(Run("cat capture.glcap").out, "old\n");
    EXPECT_THAT(Dump("end of frame", "capture.2.glcap"), testing::Not(testing::IsEmpty()));
}

CLIENT(UsesDesktopGL)
{
    eglInitialize(eglGetDisplay(EGL_DEFAULT_DISPLAY), nullptr, nullptr);
    eglBindAPI(EGL_OPENGL_API);
    eglCreateContext(eglGetDisplay(EGL_DEFAULT_DISPLAY), EGL_NO_CONFIG_KHR, EGL_NO_CONTEXT, nullptr);
    return 0;
}

TEST_F(RecorderTest, WhyNothingWasRecordedIsFoundOut)
{
    driver = Driver::Systems;
    const std::pair<const char*, const char*> cases[] = {
        {"$PROGRAM --client UsesDesktopGL", "contexts of desktop OpenGL through EGL"},
        {"$PROGRAM --client UsesDesktopGL", "playback-record --prefer-es -o capture.glcap /"},
        {"--prefer-es $PROGRAM --client UsesDesktopGL", "asked for desktop OpenGL, which --prefer-es hid"},
        {"sh -c 'kill -SEGV $$'", "sh was killed by SIGSEGV"},
        {"sh -c 'sh -c \"kill -BUS \\$\\$\"; exit $?'", "shells do when what they run is killed by SIGBUS"},
        {"env true", "EGL was not called by true"},
        {"./static", "is linked statically"},
    };
    // What the loader looks for is a segment that names it, of type 3.
    Run("cp /bin/true static; chmod u+w static; python3 -c \"f = open('static', 'r+b'); d = bytearray(f.read(4096)); "
        "o = [i for i in range(64, 64 + 56 * d[56], 56) if d[i] == 3][0]; d[o] = 0; f.seek(0); f.write(d)\"");
    for (const auto& [command, why] : cases) {
        const bool isOfTheSystem = command == std::string("env true") || command == std::string("./static");
        if (PLAYBACK_EMULATED && isOfTheSystem) {
            std::printf("left out: %s is a program for another processor than the emulated recorder\n", command);
            continue;
        }
        const Outcome outcome = Run(PLAYBACK_RECORD " -o capture.glcap " + std::string(command));
        EXPECT_THAT(outcome.err, HasSubstr(why));
        EXPECT_EQ(outcome.status, 1) << command;
    }
}

TEST_F(RecorderTest, ExitStatusIsTheProgramsOrSaysWhatWentWrong)
{
    EXPECT_EQ(Record("DrawsOnce").status, 3);
    EXPECT_EQ(Run(PLAYBACK_RECORD " --frames 0 true").status, 2);
    EXPECT_EQ(Run(PLAYBACK_RECORD " ./no-such-program").status, 127);
    EXPECT_EQ(Run(PLAYBACK_RECORD " -o - true").status, 2);
    for (const char* const file : {"no/such/folder.glcap", "/proc/x.glcap", "/dev/null", "."}) {
        EXPECT_EQ(Run(PLAYBACK_RECORD " -o " + std::string(file) + " touch started; cat started").status, 1);
        EXPECT_EQ(Run(PLAYBACK_RECORD " -o " + std::string(file) + " touch started").status, 6);
    }
}

} // namespace
} // namespace Recorder
