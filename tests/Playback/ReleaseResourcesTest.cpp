#include "FakeDriver/FakeDriver.h"
#include "Playback/GLResourceTable.h"

namespace Playback {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

void* Handle(std::uintptr_t value)
{
    return reinterpret_cast<void*>(value);
}

class ReleaseResourcesTest : public FakeDriverTest {
protected:
    ReleaseResourcesTest()
    {
        table.AddIdEGLDisplay(1, Handle(0x1000));
        table.GetValueEGLDisplay(1);
    }

    void AddAndUseContext(unsigned int id, std::uintptr_t live)
    {
        table.AddIdEGLContext(id, Handle(live));
        table.SetCurrentContext(1, 0, 0, id);
    }

    /// Names of the calls that the release makes, in order.
    std::vector<std::string> ReleasedBy()
    {
        table.ReleaseResources();
        std::vector<std::string> names;
        for (const std::string& call : driver.Log()) {
            names.push_back(call.substr(0, call.find('(')));
        }
        return names;
    }

    GLResourceTable table;
};

TEST_F(ReleaseResourcesTest, DeletesEveryKindInOrderInItsContextAndThenTheHandles)
{
    AddAndUseContext(2, 0x2000);
    table.AddIdGLSemaphore(1, 1);
    table.AddIdGLMemoryObject(1, 2);
    table.AddIdGLPerfMonitor(1, 3);
    table.AddIdGLPipeline(1, 4);
    table.AddIdGLTransformFeedback(1, 5);
    table.AddIdGLVertexArray(1, 6);
    table.AddIdGLQuery(1, 7);
    table.AddIdGLSampler(1, 8);
    table.AddIdGLTexture(1, 9);
    table.AddIdGLFramebuffer(1, 10);
    table.AddIdGLRenderbuffer(1, 11);
    table.AddIdGLBuffer(1, 12);
    table.AddIdGLShader(1, 13);
    table.AddIdGLProgram(1, 14);
    table.AddIdGLPerfMonitorGroup(1, 15);
    table.AddIdGLCounter(1, 16);
    table.AddIdGLSharedBuffer(1, 17);
    table.AddIdEGLSync(5, Handle(0x5000));
    table.AddIdEGLImage(4, Handle(0x4000));

    EXPECT_THAT(ReleasedBy(),
                ElementsAre("eglMakeCurrent", "glDeleteProgram", "glDeleteShader", "glDeleteBuffers",
                            "glDeleteRenderbuffers", "glDeleteFramebuffers", "glDeleteTextures", "glDeleteSamplers",
                            "glDeleteQueries", "glDeleteVertexArrays", "glDeleteTransformFeedbacks",
                            "glDeleteProgramPipelines", "glDeletePerfMonitorsAMD", "glDeleteMemoryObjectsEXT",
                            "glDeleteSemaphoresKHR", "eglDestroyContext", "eglDestroyImageKHR", "eglDestroySyncKHR"));
    EXPECT_THAT(driver.Log(), Contains("glDeleteProgram(14)"));
    EXPECT_THAT(driver.Log(), Contains("glDeleteBuffers(1, [12])"));
    EXPECT_THAT(driver.Log(), Contains("glDeleteTextures(1, [9])"));

    driver.ClearLog();
    EXPECT_THAT(ReleasedBy(), IsEmpty()) << "what is gone is not released again";
}

TEST_F(ReleaseResourcesTest, EachContextDeletesWhatIsItsOwn)
{
    AddAndUseContext(2, 0x2000);
    table.AddIdGLFramebuffer(1, 20);
    AddAndUseContext(3, 0x3000);
    table.AddIdGLFramebuffer(1, 30);
    table.ReleaseResources();

    std::string current;
    std::map<std::string, std::string> deletedIn;
    for (const std::string& call : driver.Log()) {
        if (call.starts_with("eglMakeCurrent(")) {
            current = call;
        } else if (call.starts_with("glDelete")) {
            deletedIn[call] = current;
        }
    }
    ASSERT_EQ(deletedIn.size(), 2u);
    EXPECT_NE(deletedIn["glDeleteFramebuffers(1, [20])"], deletedIn["glDeleteFramebuffers(1, [30])"]);
}

TEST_F(ReleaseResourcesTest, NamesOfAContextThatIsGoneAreLeftAlone)
{
    AddAndUseContext(2, 0x2000);
    table.AddIdGLTexture(1, 9);
    table.RemoveIdEGLContext(2);
    EXPECT_THAT(ReleasedBy(), IsEmpty());
}

} // namespace
} // namespace Playback
