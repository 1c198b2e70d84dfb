// How recordings end, and who may end them.

#include <csignal>
#include <cstdio>
#include <sys/wait.h>
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

TEST_F(RecorderTest, AProgramsOwnHandlerIsLeftAlone)
{
    const Outcome outcome =
        Run(PLAYBACK_RECORD " -o capture.glcap -- $PROGRAM --client HandlesSigterm & recorder=$!; "
                            "until " PLAYBACK_INFO " --dump capture.glcap 2> /dev/null | grep -q 'end of frame'; do "
                            "kill -0 $recorder && sleep 0.1 || exit; done; kill -TERM $recorder; wait $recorder");
    EXPECT_EQ(outcome.out, "handled\n");
    EXPECT_EQ(outcome.status, 5);
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
    std::vector<std::string> others;
    for (const auto& file : std::filesystem::directory_iterator(folder)) {
        const std::string name = file.path().filename().string();
        if (name.starts_with("capture.") && name != "capture.glcap") {
            others.push_back(name);
        }
    }
    ASSERT_THAT(others, SizeIs(1));
    EXPECT_THAT(outcome.err, HasSubstr(others[0]));
    EXPECT_THAT(Dump("glClear", others[0]), ElementsAre("glClear(mask=0x2)"));
}

TEST_F(RecorderTest, ExitStatusIsTheProgramsOrSaysWhatWentWrong)
{
    EXPECT_EQ(Record("DrawsOnce").status, 3);
    EXPECT_EQ(Run(PLAYBACK_RECORD " --frames 0 true").status, 2);
    EXPECT_EQ(Run(PLAYBACK_RECORD " ./no-such-program").status, 127);
    EXPECT_EQ(Run(PLAYBACK_RECORD " -o no/such/folder.glcap true").status, 1);
}

} // namespace
} // namespace Recorder
