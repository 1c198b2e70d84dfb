// Two threads with contexts that share objects: one fills textures and a buffer, the other draws with them. Fences say
// when the objects are ready and when they are free again; one frame is drawn while the next is filled. Right after the
// draws, a thread without a context comes by.

#include <EGL/egl.h>

#include <EGL/eglext.h> // needs the types of egl.h
#include <condition_variable>
#include <mutex>
#include <thread>

#include "Families.h"

namespace {

constexpr int Side = 32;
constexpr int Slots = 2;

/// Objects that one thread fills for the other.
struct Slot {
    GLuint texture = 0;
    GLuint vertices = 0;
    GLsync filled = nullptr;
    EGLSync drawn = EGL_NO_SYNC;
    int frame = 0; ///< frame that it is filled for; 0 when it is free
};

struct Handover {
    std::mutex mutex;
    std::condition_variable changed;
    Slot slots[Slots];

    template <class Condition> Slot& WaitFor(int frame, Condition condition)
    {
        Slot& slot = slots[frame % Slots];
        std::unique_lock lock(mutex);
        changed.wait(lock, [&] { return condition(slot); });
        return slot;
    }
    void Give(Slot& slot, int frame)
    {
        const std::lock_guard lock(mutex);
        slot.frame = frame;
        changed.notify_all();
    }
};

void Fill(const Stage& stage, EGLContext context, Handover& handover)
{
    eglBindAPI(EGL_OPENGL_ES_API);
    stage.MakeCurrent(EGL_NO_SURFACE, context);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        Slot& slot = handover.WaitFor(frame, [](const Slot& s) { return s.frame == 0; });
        if (slot.drawn != EGL_NO_SYNC) {
            eglClientWaitSync(stage.Display(), slot.drawn, 0, EGL_FOREVER);
            eglDestroySync(stage.Display(), slot.drawn);
        }
        glBindTexture(GL_TEXTURE_2D, slot.texture);
        glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, Side, Side, GL_RGBA, GL_UNSIGNED_BYTE,
                        Pattern(Side, Side, 3 * frame).data());
        float corners[8];
        WriteQuad(corners, 0.3f + 0.08f * static_cast<float>(frame));
        glBindBuffer(GL_ARRAY_BUFFER, slot.vertices);
        glBufferSubData(GL_ARRAY_BUFFER, 0, sizeof corners, corners);
        slot.filled = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
        glFlush();
        handover.Give(slot, frame);
    }
    ExpectNoErrors("filling");
    stage.MakeCurrent(EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglReleaseThread();
}

} // namespace

FAMILY("threads", stage)
{
    Handover handover;
    for (Slot& slot : handover.slots) {
        slot.texture = MakeStorage(Side);
        slot.vertices = MakeBuffer(GL_ARRAY_BUFFER, sizeof quad, nullptr);
    }
    glFinish();
    const EGLContext context = stage.MakeContext(stage.Context());
    std::thread filler([&] { Fill(stage, context, handover); });
    glUseProgram(PictureProgram());
    glEnableVertexAttribArray(0);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        Slot& slot = handover.WaitFor(frame, [&](const Slot& s) { return s.frame == frame; });
        glWaitSync(slot.filled, 0, GL_TIMEOUT_IGNORED);
        glDeleteSync(slot.filled);
        glClear(GL_COLOR_BUFFER_BIT);
        for (int i = 0; i < 4; ++i) {
            Quarter(i);
            glBindTexture(GL_TEXTURE_2D, slot.texture);
            glBindBuffer(GL_ARRAY_BUFFER, slot.vertices);
            glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, nullptr);
            glDrawArrays(GL_TRIANGLE_STRIP, 0, 4 - i % 2);
        }
        std::thread([] { static_cast<void>(eglGetCurrentContext()); }).join();
        slot.drawn = eglCreateSync(stage.Display(), EGL_SYNC_FENCE, nullptr);
        glFlush();
        handover.Give(slot, 0);
        EndFrame(stage);
    }
    filler.join();
    eglDestroyContext(stage.Display(), context);
}
