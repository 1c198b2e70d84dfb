#include "Recorder/Images/DriverReading.h"

#include <iterator>
#include <map>

#include "Recorder/Symbols/LiveFunctions.h"

namespace Recorder {
namespace {

/// Coordinates reach from 0 to 1, a texel to each pixel.
constexpr const char* VertexSource = "attribute vec2 corner;varying highp vec2 at;"
                                     "void main(){gl_Position=vec4(corner*2.0-1.0,0,1);at=corner;}";
constexpr const char* FragmentSource = "#extension GL_OES_EGL_image_external : require\n"
                                       "uniform samplerExternalOES image;varying highp vec2 at;"
                                       "void main(){gl_FragColor=texture2D(image,at);}";
/// A triangle that covers the picture.
constexpr GLfloat Corners[] = {0, 0, 2, 0, 0, 2};

/// A function of the driver's, by the type of its pointer.
#define LIVE(type, name) Live<type>(Entry::name)

struct ReadingContext {
    EGLContext context = EGL_NO_CONTEXT;
    /// 0 until it is needed, and where it cannot be made.
    GLuint program = 0;
};

/// By display.
std::map<EGLDisplay, ReadingContext>& Contexts()
{
    static std::map<EGLDisplay, ReadingContext>& contexts = *new std::map<EGLDisplay, ReadingContext>;
    return contexts;
}

EGLContext MakeContext(EGLDisplay display, EGLConfig config)
{
    const auto bindApi = LIVE(PFNEGLBINDAPIPROC, eglBindAPI);
    const EGLenum api = LIVE(PFNEGLQUERYAPIPROC, eglQueryAPI)();
    const EGLint attribs[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};
    bindApi(EGL_OPENGL_ES_API);
    const EGLContext context =
        LIVE(PFNEGLCREATECONTEXTPROC, eglCreateContext)(display, config, EGL_NO_CONTEXT, attribs);
    bindApi(api);
    return context;
}

GLuint MakeProgram()
{
    const auto attach = LIVE(PFNGLATTACHSHADERPROC, glAttachShader);
    const GLuint program = LIVE(PFNGLCREATEPROGRAMPROC, glCreateProgram)();
    for (const auto& [kind, source] :
         {std::pair(GL_VERTEX_SHADER, VertexSource), {GL_FRAGMENT_SHADER, FragmentSource}}) {
        const GLuint shader = LIVE(PFNGLCREATESHADERPROC, glCreateShader)(static_cast<GLenum>(kind));
        LIVE(PFNGLSHADERSOURCEPROC, glShaderSource)(shader, 1, &source, nullptr);
        LIVE(PFNGLCOMPILESHADERPROC, glCompileShader)(shader);
        attach(program, shader);
    }
    LIVE(PFNGLBINDATTRIBLOCATIONPROC, glBindAttribLocation)(program, 0, "corner");
    LIVE(PFNGLLINKPROGRAMPROC, glLinkProgram)(program);
    GLint isLinked = GL_FALSE;
    LIVE(PFNGLGETPROGRAMIVPROC, glGetProgramiv)(program, GL_LINK_STATUS, &isLinked);
    return isLinked == GL_TRUE ? program : 0;
}

/// What the thread has current, to be put back.
class Switched {
public:
    Switched(EGLDisplay display, EGLContext context)
        : m_display(LIVE(PFNEGLGETCURRENTDISPLAYPROC, eglGetCurrentDisplay)()), m_draw(Surface(EGL_DRAW)),
          m_read(Surface(EGL_READ)), m_context(LIVE(PFNEGLGETCURRENTCONTEXTPROC, eglGetCurrentContext)()),
          m_isDone(MakeCurrent()(display, EGL_NO_SURFACE, EGL_NO_SURFACE, context) == EGL_TRUE)
    {
    }
    ~Switched()
    {
        if (m_isDone)
            MakeCurrent()(m_display, m_draw, m_read, m_context);
    }
    Switched(const Switched&) = delete;
    Switched& operator=(const Switched&) = delete;

    [[nodiscard]] bool IsDone() const { return m_isDone; }

private:
    static EGLSurface Surface(EGLint which) { return LIVE(PFNEGLGETCURRENTSURFACEPROC, eglGetCurrentSurface)(which); }
    static PFNEGLMAKECURRENTPROC MakeCurrent() { return LIVE(PFNEGLMAKECURRENTPROC, eglMakeCurrent); }

    const EGLDisplay m_display;
    const EGLSurface m_draw;
    const EGLSurface m_read;
    const EGLContext m_context;
    const bool m_isDone;
};

GLuint MakeTexture(GLenum target)
{
    GLuint texture = 0;
    LIVE(PFNGLGENTEXTURESPROC, glGenTextures)(1, &texture);
    LIVE(PFNGLBINDTEXTUREPROC, glBindTexture)(target, texture);
    for (const GLenum filter : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER})
        LIVE(PFNGLTEXPARAMETERIPROC, glTexParameteri)(target, filter, GL_NEAREST);
    return texture;
}

/// Draws the image to a texture, in the context for reading, and reads that.
bool DrawAndRead(GLuint program, EGLImageKHR image, GLsizei width, GLsizei height, std::uint8_t* rgba)
{
    const GLuint textures[] = {MakeTexture(GL_TEXTURE_2D), MakeTexture(GL_TEXTURE_EXTERNAL_OES)};
    LIVE(PFNGLEGLIMAGETARGETTEXTURE2DOESPROC, glEGLImageTargetTexture2DOES)(GL_TEXTURE_EXTERNAL_OES, image);
    LIVE(PFNGLTEXIMAGE2DPROC, glTexImage2D)
    (GL_TEXTURE_2D, 0, GL_RGBA, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    GLuint framebuffer = 0;
    LIVE(PFNGLGENFRAMEBUFFERSPROC, glGenFramebuffers)(1, &framebuffer);
    LIVE(PFNGLBINDFRAMEBUFFERPROC, glBindFramebuffer)(GL_FRAMEBUFFER, framebuffer);
    LIVE(PFNGLFRAMEBUFFERTEXTURE2DPROC, glFramebufferTexture2D)
    (GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, textures[0], 0);
    LIVE(PFNGLVIEWPORTPROC, glViewport)(0, 0, width, height);
    LIVE(PFNGLDISABLEPROC, glDisable)(GL_DITHER);
    LIVE(PFNGLUSEPROGRAMPROC, glUseProgram)(program);
    LIVE(PFNGLVERTEXATTRIBPOINTERPROC, glVertexAttribPointer)(0, 2, GL_FLOAT, GL_FALSE, 0, Corners);
    LIVE(PFNGLENABLEVERTEXATTRIBARRAYPROC, glEnableVertexAttribArray)(0);
    LIVE(PFNGLDRAWARRAYSPROC, glDrawArrays)(GL_TRIANGLES, 0, 3);
    LIVE(PFNGLREADPIXELSPROC, glReadPixels)(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, rgba);
    LIVE(PFNGLDELETEFRAMEBUFFERSPROC, glDeleteFramebuffers)(1, &framebuffer);
    LIVE(PFNGLDELETETEXTURESPROC, glDeleteTextures)(std::size(textures), textures);
    return LIVE(PFNGLGETERRORPROC, glGetError)() == GL_NO_ERROR;
}

} // namespace

bool ReadByDriver(EGLDisplay display, EGLConfig config, EGLImageKHR image, std::uint32_t width, std::uint32_t height,
                  std::vector<std::uint8_t>& rgba)
{
    const auto [entry, isNew] = Contexts().try_emplace(display);
    ReadingContext& reading = entry->second;
    if (isNew)
        reading.context = MakeContext(display, config);
    if (reading.context == EGL_NO_CONTEXT)
        return false;
    rgba.resize(std::size_t{4} * width * height);
    const Switched switched(display, reading.context);
    if (!switched.IsDone())
        return false;
    if (isNew)
        reading.program = MakeProgram();
    return reading.program != 0 &&
           DrawAndRead(reading.program, image, static_cast<GLsizei>(width), static_cast<GLsizei>(height), rgba.data());
}

void ForgetReadingContext(EGLDisplay display) noexcept
{
    Contexts().erase(display);
}

} // namespace Recorder
