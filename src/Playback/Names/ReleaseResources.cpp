#include "Playback/Names/ReleaseResources.h"

#include <type_traits>

#include "Playback/Names/CapturedContexts.h"
#include "Playback/Names/DisplayHandles.h"
#include "Playback/Names/ResourceMaps.h"

namespace Playback {
namespace {

/// `function` is a glDelete call of either form, for one name or for an array of names; null when the driver lacks it.
template <class Function>
void DeleteEach(const std::unordered_map<unsigned int, unsigned int>& names, Function function)
{
    if (!function)
        return;
    for (const auto& entry : names) {
        unsigned int name = entry.second;
        if constexpr (std::is_invocable_v<Function, unsigned int>)
            function(name);
        else
            function(1, &name);
    }
}

/// `function` takes the display and a handle; null when the driver lacks it.
template <class Function>
void DestroyEach(void* display, std::unordered_map<unsigned int, void*>& handles, Function function)
{
    if (!function)
        return;
    for (auto entry = handles.begin(); entry != handles.end(); entry = handles.erase(entry))
        function(display, entry->second);
}

void DeleteObjects(const ContextResources& resources)
{
    const Core::GLESProcTable& gl = Core::KHRLayer::GLESProc();
    const Core::GLESExtProcTable& glExt = Core::KHRLayer::GLESExtProc();
    DeleteEach(resources.Names(NameKind::Program), gl.glDeleteProgram);
    DeleteEach(resources.Names(NameKind::Shader), gl.glDeleteShader);
    DeleteEach(resources.Names(NameKind::Buffer), gl.glDeleteBuffers);
    DeleteEach(resources.Names(NameKind::Renderbuffer), gl.glDeleteRenderbuffers);
    DeleteEach(resources.Names(NameKind::Framebuffer), gl.glDeleteFramebuffers);
    DeleteEach(resources.Names(NameKind::Texture), gl.glDeleteTextures);
    DeleteEach(resources.Names(NameKind::Sampler), gl.glDeleteSamplers);
    DeleteEach(resources.Names(NameKind::Query), gl.glDeleteQueries);
    DeleteEach(resources.Names(NameKind::VertexArray), gl.glDeleteVertexArrays);
    DeleteEach(resources.Names(NameKind::TransformFeedback), gl.glDeleteTransformFeedbacks);
    DeleteEach(resources.Names(NameKind::Pipeline), gl.glDeleteProgramPipelines);
    DeleteEach(resources.Names(NameKind::PerfMonitor), glExt.glDeletePerfMonitorsAMD);
    DeleteEach(resources.Names(NameKind::MemoryObject), glExt.glDeleteMemoryObjectsEXT);
    DeleteEach(resources.Names(NameKind::Semaphore), glExt.glDeleteSemaphoresKHR);
}

void DestroyHandles(DisplayResources& resources)
{
    DestroyEach(resources.display, resources.contexts, Core::KHRLayer::EGLProc().eglDestroyContext);
    DestroyEach(resources.display, resources.images, Core::KHRLayer::EGLExtProc().eglDestroyImageKHR);
    DestroyEach(resources.display, resources.syncs, Core::KHRLayer::EGLExtProc().eglDestroySyncKHR);
}

} // namespace

void ReleaseResources(const CapturedContexts& contexts, DisplayHandles& handles)
{
    const auto makeCurrent = Core::KHRLayer::EGLProc().eglMakeCurrent;
    for (const auto& [key, resources] : contexts.All()) {
        for (const auto& [id, display] : handles.Displays()) {
            void* const* context = Find(display.contexts, key);
            if (!context)
                continue;
            if (display.display && *context && makeCurrent) {
                makeCurrent(display.display, EGL_NO_SURFACE, EGL_NO_SURFACE, *context);
                DeleteObjects(resources);
            }
            break;
        }
    }
    for (auto& [id, display] : handles.Displays())
        DestroyHandles(display);
}

} // namespace Playback
