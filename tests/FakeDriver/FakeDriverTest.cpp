// The fake driver itself, as programs meet it: opened with dlopen, without the runtime in between.

#include <EGL/egl.h>
#include <GLES3/gl32.h>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "FakeDriver/FakeControl.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class FakeDriverItself : public ::testing::Test {
protected:
    FakeDriverItself()
    {
        m_gl = dlopen(FAKE_DRIVER_DIR "/libGLESv2.so.2", RTLD_NOW | RTLD_LOCAL);
        m_egl = dlopen(FAKE_DRIVER_DIR "/libEGL.so.1", RTLD_NOW | RTLD_LOCAL);
        control = reinterpret_cast<decltype(&fake_control)>(dlsym(m_egl, "fake_control"))();
        control->Reset();
    }
    ~FakeDriverItself() override
    {
        control->Reset();
        dlclose(m_egl);
        dlclose(m_gl);
    }

    template <class T> T* Symbol(const char* name, T*)
    {
        return reinterpret_cast<T*>(dlsym(name[0] == 'e' ? m_egl : m_gl, name));
    }

    Fake::Control* control = nullptr;

private:
    void* m_gl;
    void* m_egl;
};

#define FIND(function) Symbol(#function, static_cast<decltype(&::function)>(nullptr))

TEST_F(FakeDriverItself, LogsInputsAndOutputs)
{
    GLuint names[2] = {};
    FIND(glGenTextures)(2, names);
    FIND(glBindTexture)(GL_TEXTURE_2D, names[1]);
    const GLuint program = FIND(glCreateProgram)();
    FIND(glGetUniformLocation)(program, "view \"a\"");
    FIND(glUniform1f)(3, 0.5f);
    const char* source = "void main()\n{}";
    FIND(glShaderSource)(7, 1, &source, nullptr);
    FIND(glBufferSubData)(GL_ARRAY_BUFFER, 16, 3, "\x01\x02\xff");
    FIND(glDrawElements)(GL_TRIANGLES, 3, GL_UNSIGNED_SHORT, reinterpret_cast<void*>(12));
    FIND(glDeleteTextures)(2, names);
    EXPECT_THAT(control->Log(),
                ElementsAre("glGenTextures(2) = [901, 902]", "glBindTexture(GL_TEXTURE_2D, 902)",
                            "glCreateProgram() = 903", "glGetUniformLocation(903, \"view \\\"a\\\"\") = 31",
                            "glUniform1f(3, 0.5)", "glShaderSource(7, 1, [\"void main()\\n{}\"], null)",
                            "glBufferSubData(GL_ARRAY_BUFFER, 16, 3, <3 bytes 0102ff>)",
                            "glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_SHORT, offset 12)",
                            "glDeleteTextures(2, [901, 902])"));
}

TEST_F(FakeDriverItself, MissingFunctionsCannotBeFoundInAnyWay)
{
    control->SetMissing({"glFlush", "eglWaitGL"});
    EXPECT_EQ(FIND(glFlush), nullptr);
    EXPECT_EQ(FIND(eglWaitGL), nullptr);
    EXPECT_EQ(FIND(eglGetProcAddress)("glFlush"), nullptr);
    EXPECT_NE(FIND(glFinish), nullptr);

    // The ten tenths are all of it.
    control->SetMissing({});
    int missing = 0;
    for (int tenth = 0; tenth < 10; ++tenth) {
        control->SetMissingTenth(tenth);
        missing += FIND(glFlush) ? 0 : 1;
    }
    EXPECT_EQ(missing, 1);
}
