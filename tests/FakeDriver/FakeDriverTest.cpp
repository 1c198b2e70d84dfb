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

TEST_F(FakeDriverItself, ChoosesConfigsAndRemembersSurfaces)
{
    const EGLDisplay display = FIND(eglGetDisplay)(EGL_DEFAULT_DISPLAY);
    const EGLint wanted[] = {EGL_ALPHA_SIZE, 8, EGL_SAMPLES, 4, EGL_NONE};
    EGLConfig configs[8] = {};
    EGLint count = 0;
    FIND(eglChooseConfig)(display, wanted, configs, 8, &count);
    ASSERT_EQ(count, 1);
    const EGLint size[] = {EGL_WIDTH, 64, EGL_HEIGHT, 48, EGL_NONE};
    const EGLSurface surface = FIND(eglCreatePbufferSurface)(display, configs[0], size);
    EGLint height = 0;
    FIND(eglQuerySurface)(display, surface, EGL_HEIGHT, &height);
    EXPECT_EQ(height, 48);
    EXPECT_THAT(
        control->Log(),
        ElementsAre("eglGetDisplay(0) = 11",
                    "eglChooseConfig(11, {EGL_ALPHA_SIZE: 8, EGL_SAMPLES: 4}, 8) = 1, [25, 0, 0, 0, 0, 0, 0, 0], [1]",
                    "eglCreatePbufferSurface(11, 25, {EGL_WIDTH: 64, EGL_HEIGHT: 48}) = 501",
                    "eglQuerySurface(11, 501, EGL_HEIGHT) = 1, [48]"));
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

TEST_F(FakeDriverItself, AnswersAsTold)
{
    control->Answer("glGetIntegerv", [](const Fake::Arguments& arguments) -> Fake::Word {
        arguments.Get<GLint*>(1)[0] = 77;
        return 0;
    });
    control->SetVersion("OpenGL ES 3.0");
    control->SetExtensions("GL_A GL_B");
    control->SetError(GL_INVALID_VALUE);
    GLint value = 0;
    FIND(glGetIntegerv)(GL_MAX_TEXTURE_SIZE, &value);
    EXPECT_EQ(value, 77);
    control->Answer("glGetIntegerv", {});
    FIND(glGetIntegerv)(GL_MINOR_VERSION, &value);
    EXPECT_EQ(value, 0);
    EXPECT_STREQ(reinterpret_cast<const char*>(FIND(glGetString)(GL_EXTENSIONS)), "GL_A GL_B");
    EXPECT_STREQ(reinterpret_cast<const char*>(FIND(glGetStringi)(GL_EXTENSIONS, 1)), "GL_B");
    EXPECT_EQ(FIND(glGetError)(), static_cast<GLenum>(GL_INVALID_VALUE));
    EXPECT_EQ(FIND(glGetError)(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST_F(FakeDriverItself, MapsRealMemory)
{
    auto* memory = static_cast<char*>(FIND(glMapBufferRange)(GL_ARRAY_BUFFER, 8, 100, GL_MAP_WRITE_BIT));
    ASSERT_NE(memory, nullptr);
    memory[99] = 1;
    EXPECT_THAT(control->Log(), ElementsAre(HasSubstr("glMapBufferRange(GL_ARRAY_BUFFER, 8, 100, 0x2) = pointer")));
}
