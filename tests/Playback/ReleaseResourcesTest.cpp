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

TEST_F(FakeDriverTest, ReleaseDeletesEveryKindInOrderInItsContextAndThenTheHandles)
{
    GLResourceTable table;
    table.AddIdEGLDisplay(1, Handle(11));
    table.GetValueEGLDisplay(1);
    // Of a context that is gone.
    table.SetCurrentContext(1, 0, 0, 3);
    table.AddIdGLFramebuffer(1, 30);
    table.AddIdEGLContext(2, Handle(22));
    table.SetCurrentContext(1, 0, 0, 2);
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

} // namespace
} // namespace Playback
