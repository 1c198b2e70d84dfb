// Images of memory that the program imports by descriptors (EGL_EXT_image_dma_buf_import), in several formats, whose
// pixels it writes without a call. It tells of new ones by making the image the texture's storage again, by binding the
// texture, or by importing anew.

#include <array>
#include <cstring>
#include <string>

#include <EGL/egl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <EGL/eglext.h> // needs the types of egl.h

#include "Families.h"

namespace {

constexpr int Width = 30;
constexpr int Height = 20;
constexpr int Pitch = 160;
constexpr int Offset = 256;
/// A layout that only its driver knows.
constexpr std::uint64_t Tiled = std::uint64_t{1} << 56 | 1;

const char* const externalFragment = "#extension GL_OES_EGL_image_external : require\n"
                                     "precision mediump float;uniform samplerExternalOES image;varying vec2 at;"
                                     "void main(){gl_FragColor=texture2D(image,at);}";
const char* const externalVertex = "attribute vec2 position;varying vec2 at;"
                                   "void main(){gl_Position=vec4(position,0,1);at=position*0.5+0.5;}";

/// A picture in memory that is shown by a texture.
class Picture {
public:
    Picture(EGLDisplay display, const char (&code)[5], GLenum target = GL_TEXTURE_2D, std::uint64_t modifier = 0)
        : m_display(display), m_code(code), m_modifier(modifier), target(target), texture(MakeTexture(target))
    {
        m_descriptor = memfd_create("picture", MFD_CLOEXEC);
        constexpr std::size_t Bytes = Offset + 2 * Pitch * Height;
        if (m_descriptor < 0 || ftruncate(m_descriptor, Bytes) != 0)
            Stage::Fail("memfd_create");
        m_memory =
            static_cast<std::uint8_t*>(mmap(nullptr, Bytes, PROT_READ | PROT_WRITE, MAP_SHARED, m_descriptor, 0));
        m_image = Import();
        Tell();
    }

    void Write(int frame)
    {
        for (int i = 0; i < 2 * Pitch * Height; ++i)
            m_memory[Offset + i] = Wave(frame * 5 + i % 7 + i / Pitch);
    }
    /// The image becomes the texture's storage again.
    void Tell() const
    {
        glBindTexture(target, texture);
        Load<PFNGLEGLIMAGETARGETTEXTURE2DOESPROC>("glEGLImageTargetTexture2DOES")(target, m_image);
    }
    void ImportAnew()
    {
        Load<PFNEGLDESTROYIMAGEKHRPROC>("eglDestroyImageKHR")(m_display, m_image);
        m_image = Import();
        Tell();
    }
    void CloseDescriptor() const { close(m_descriptor); }

private:
    [[nodiscard]] EGLImageKHR Import() const
    {
        std::vector<EGLAttrib> list{EGL_WIDTH, Width, EGL_HEIGHT, Height, EGL_LINUX_DRM_FOURCC_EXT};
        std::uint32_t fourcc = 0;
        std::memcpy(&fourcc, m_code.data(), sizeof fourcc);
        list.push_back(fourcc);
        list.insert(list.end(), {EGL_DMA_BUF_PLANE0_FD_EXT, m_descriptor, EGL_DMA_BUF_PLANE0_OFFSET_EXT, Offset,
                                 EGL_DMA_BUF_PLANE0_PITCH_EXT, Pitch});
        if (m_code == "NV12")
            list.insert(list.end(), {EGL_DMA_BUF_PLANE1_FD_EXT, m_descriptor, EGL_DMA_BUF_PLANE1_OFFSET_EXT,
                                     Offset + Pitch * Height, EGL_DMA_BUF_PLANE1_PITCH_EXT, Pitch});
        if (m_modifier != 0)
            list.insert(list.end(),
                        {EGL_DMA_BUF_PLANE0_MODIFIER_LO_EXT, static_cast<EGLAttrib>(m_modifier & 0xFFFFFFFF),
                         EGL_DMA_BUF_PLANE0_MODIFIER_HI_EXT, static_cast<EGLAttrib>(m_modifier >> 32)});
        list.push_back(EGL_NONE);
        const EGLImageKHR image =
            eglCreateImage(m_display, EGL_NO_CONTEXT, EGL_LINUX_DMA_BUF_EXT, nullptr, list.data());
        if (image == EGL_NO_IMAGE_KHR)
            Stage::Fail("importing an image");
        return image;
    }

    EGLDisplay m_display;
    std::string m_code;
    std::uint64_t m_modifier;
    int m_descriptor = -1;
    std::uint8_t* m_memory = nullptr;
    EGLImageKHR m_image = EGL_NO_IMAGE_KHR;

public:
    const GLenum target;
    const GLuint texture;
};

} // namespace

FAMILY("imported-images", stage)
{
    const EGLDisplay display = stage.Display();
    if (!std::strstr(eglQueryString(display, EGL_EXTENSIONS), "EGL_EXT_image_dma_buf_import"))
        Stage::Fail("EGL_EXT_image_dma_buf_import");
    const GLuint external = LinkProgram(externalVertex, externalFragment,
                                        [](GLuint program) { glBindAttribLocation(program, 0, "position"); });
    std::array pictures{
        Picture(display, "AR24"),
        Picture(display, "XR24"),
        Picture(display, "AB24"),
        Picture(display, "XB24"),
        Picture(display, "RG16"),
        Picture(display, "R8  "),
        Picture(display, "GR88"),
        Picture(display, "AR24", GL_TEXTURE_2D, Tiled),
        Picture(display, "NV12", GL_TEXTURE_EXTERNAL_OES),
        Picture(display, "AR24", GL_TEXTURE_EXTERNAL_OES),
    };
    glEnableVertexAttribArray(0);
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ZERO);
    for (int frame = 1; frame <= FrameCount; ++frame) {
        glClear(GL_COLOR_BUFFER_BIT);
        for (std::size_t i = 0; i < pictures.size(); ++i) {
            Picture& picture = pictures[i];
            const bool isChanged = (frame + i) % 3 != 0;
            const bool isExternal = picture.target == GL_TEXTURE_EXTERNAL_OES;
            if (isChanged)
                picture.Write(frame + static_cast<int>(i));
            if (i == 2 && isChanged)
                picture.ImportAnew();
            else if (isChanged && !isExternal)
                picture.Tell();
            glBindTexture(picture.target, picture.texture);
            glViewport(static_cast<int>(i) % 4 * 64, static_cast<int>(i) / 4 * 64, 60, 60);
            DrawQuad(isExternal ? external : PictureProgram());
        }
        if (frame == 1)
            for (std::size_t i = 0; i < pictures.size(); ++i)
                if (i != 2)
                    pictures[i].CloseDescriptor();
        EndFrame(stage);
    }
}
