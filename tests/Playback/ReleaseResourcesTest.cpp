#include "FakeDriver/FakeDriver.h"
#include "Playback/GLResourceTable.h"

namespace Playback {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

void* Handle(std::uintptr_t value)
{
    return reinterpret_cast<void*>(value);
}

class ReleaseResourcesTest : public FakeDriverTest {
protected:
    ReleaseResourcesTest()
    {
        table.AddIdEGLDisplay(1, Handle(11));
        table.GetValueEGLDisplay(1);
        UseContext(2);
    }
    void UseContext(unsigned int id)
    {
        table.AddIdEGLContext(id, Handle(20 + id));
        table.SetCurrentContext(1, 0, 0, id);
    }

    GLResourceTable table;
};

TEST_F(ReleaseResourcesTest, DeletesEveryKindInOrderInItsContextAndThenTheHandles)
{
    unsigned int name = 0;
    for (const auto add :
         {&GLResourceTable::AddIdGLSemaphore, &GLResourceTable::AddIdGLMemoryObject,
          &GLResourceTable::AddIdGLPerfMonitor, &GLResourceTable::AddIdGLPipeline,
          &GLResourceTable::AddIdGLTransformFeedback, &GLResourceTable::AddIdGLVertexArray,
          &GLResourceTable::AddIdGLQuery, &GLResourceTable::AddIdGLSampler, &GLResourceTable::AddIdGLTexture,
          &GLResourceTable::AddIdGLFramebuffer, &GLResourceTable::AddIdGLRenderbuffer, &GLResourceTable::AddIdGLBuffer,
          &GLResourceTable::AddIdGLShader, &GLResourceTable::AddIdGLProgram, &GLResourceTable::AddIdGLPerfMonitorGroup,
          &GLResourceTable::AddIdGLCounter}) {
        (table.*add)(1, ++name);
    }
    table.AddIdEGLSync(5, Handle(50));
    table.AddIdEGLImage(4, Handle(40));
    table.ReleaseResources();
    EXPECT_THAT(driver.Log(),
                ElementsAre("eglMakeCurrent(11, 0, 0, 22) = 1", "glDeleteProgram(14)", "glDeleteShader(13)",
                            "glDeleteBuffers(1, [12])", "glDeleteRenderbuffers(1, [11])",
                            "glDeleteFramebuffers(1, [10])", "glDeleteTextures(1, [9])", "glDeleteSamplers(1, [8])",
                            "glDeleteQueries(1, [7])", "glDeleteVertexArrays(1, [6])",
                            "glDeleteTransformFeedbacks(1, [5])", "glDeleteProgramPipelines(1, [4])",
                            "glDeletePerfMonitorsAMD(1, [3])", "glDeleteMemoryObjectsEXT(1, [2])",
                            "glDeleteSemaphoresKHR(1, [1])", "eglDestroyContext(11, 22) = 1",
                            "eglDestroyImageKHR(11, 40) = 1", "eglDestroySyncKHR(11, 50) = 1"));
    driver.ClearLog();
    table.ReleaseResources();
    EXPECT_THAT(driver.Log(), IsEmpty()) << "what is gone is not released again";
}

TEST_F(ReleaseResourcesTest, EachContextDeletesWhatIsItsOwnUnlessItIsGone)
{
    for (const unsigned int context : {2u, 3u, 4u}) {
        UseContext(context);
        table.AddIdGLFramebuffer(1, 10 * context);
    }
    table.RemoveIdEGLContext(4);
    table.ReleaseResources();
    std::map<std::string, std::string> deletedIn;
    std::string current;
    for (const std::string& call : driver.Log()) {
        if (call.starts_with("eglMakeCurrent(")) {
            current = call;
        } else if (call.starts_with("glDelete")) {
            deletedIn[call] = current;
        }
    }
    EXPECT_THAT(deletedIn,
                ElementsAre(testing::Pair("glDeleteFramebuffers(1, [20])", "eglMakeCurrent(11, 0, 0, 22) = 1"),
                            testing::Pair("glDeleteFramebuffers(1, [30])", "eglMakeCurrent(11, 0, 0, 23) = 1")));
}

} // namespace
} // namespace Playback
