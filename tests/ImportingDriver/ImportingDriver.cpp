// The system's driver with EGL_EXT_image_dma_buf_import, for machines whose drivers share no memory. It takes any file
// that can be mapped. The image is one of a texture; what changed in the memory is uploaded ahead of each draw, so that
// the texture seems to lie there. Whatever the modifier, the memory is linear; it says that the recorder cannot know.

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <EGL/egl.h>
#include <GLES2/gl2.h>

#include <EGL/eglext.h>
#include <GLES2/gl2ext.h>
#include <dlfcn.h>
#include <sys/mman.h>

namespace {

struct Plane {
    int descriptor = -1;
    std::size_t offset = 0;
    std::size_t pitch = 0;
    const std::uint8_t* memory = nullptr;

    [[nodiscard]] const std::uint8_t* At(std::size_t x, std::size_t y) const { return memory + y * pitch + x; }
};

struct Image {
    std::uint32_t fourcc = 0;
    int width = 0;
    int height = 0;
    Plane planes[2];
    /// Uploaded last.
    std::vector<std::uint8_t> shown;
};

std::map<EGLImageKHR, Image>& Images()
{
    static std::map<EGLImageKHR, Image> images;
    return images;
}

template <class Function> Function* Real(const char* name)
{
    using GetProcAddress = decltype(eglGetProcAddress);
    if (void* const found = dlsym(RTLD_NEXT, name))
        return reinterpret_cast<Function*>(found);
    return reinterpret_cast<Function*>(reinterpret_cast<GetProcAddress*>(dlsym(RTLD_NEXT, "eglGetProcAddress"))(name));
}

std::uint8_t Byte(double value)
{
    return static_cast<std::uint8_t>(std::clamp(value + 0.5, 0.0, 255.0));
}

/// NV12, of BT.601 in narrow range.
void ReadYuv(const Image& image, std::size_t x, std::size_t y, std::uint8_t* rgba)
{
    const double luma = 255.0 / 219 * (*image.planes[0].At(x, y) - 16);
    const std::uint8_t* const chroma = image.planes[1].At(x / 2 * 2, y / 2);
    const double blue = 255.0 / 112 * (chroma[0] - 128), red = 255.0 / 112 * (chroma[1] - 128);
    rgba[0] = Byte(luma + 0.701 * red);
    rgba[1] = Byte(luma - 0.344 * 0.886 * blue - 0.714 * 0.701 * red);
    rgba[2] = Byte(luma + 0.886 * blue);
}

/// RGBA of 8 bits a channel, but 565 as it is, since drivers expand it in their own ways.
struct Transfer {
    GLenum format = GL_RGBA;
    GLenum type = GL_UNSIGNED_BYTE;
    std::size_t bytes = 4;
};

std::string CodeOf(const Image& image)
{
    return {reinterpret_cast<const char*>(&image.fourcc), 4};
}

Transfer TransferOf(const Image& image)
{
    return CodeOf(image) == "RG16" ? Transfer{GL_RGB, GL_UNSIGNED_SHORT_5_6_5, 2} : Transfer{};
}

void ReadPixel(const Image& image, std::size_t x, std::size_t y, std::uint8_t* rgba)
{
    const std::string code = CodeOf(image);
    if (code != "RG16") {
        rgba[1] = rgba[2] = 0;
        rgba[3] = 255;
    }
    if (code == "NV12") {
        ReadYuv(image, x, y, rgba);
    } else if (code == "R8  ") {
        rgba[0] = *image.planes[0].At(x, y);
    } else if (code == "GR88" || code == "RG16") {
        std::copy_n(image.planes[0].At(2 * x, y), 2, rgba);
    } else {
        std::copy_n(image.planes[0].At(4 * x, y), code[0] == 'X' ? 3 : 4, rgba);
        if (code[1] == 'R')
            std::swap(rgba[0], rgba[2]);
    }
}

/// In whatever context is current.
void Upload(EGLImageKHR handle, Image& image)
{
    const Transfer transfer = TransferOf(image);
    std::vector<std::uint8_t> pixels(transfer.bytes * image.width * image.height);
    for (std::size_t i = 0; i < pixels.size() / transfer.bytes; ++i)
        ReadPixel(image, i % image.width, i / image.width, pixels.data() + transfer.bytes * i);
    if (pixels == image.shown)
        return;
    image.shown = std::move(pixels);
    GLint bound = 0;
    GLuint texture = 0;
    Real<decltype(glGetIntegerv)>("glGetIntegerv")(GL_TEXTURE_BINDING_2D, &bound);
    Real<decltype(glGenTextures)>("glGenTextures")(1, &texture);
    const auto bind = Real<decltype(glBindTexture)>("glBindTexture");
    bind(GL_TEXTURE_2D, texture);
    Real<std::remove_pointer_t<PFNGLEGLIMAGETARGETTEXTURE2DOESPROC>>("glEGLImageTargetTexture2DOES")(GL_TEXTURE_2D,
                                                                                                     handle);
    Real<decltype(glTexSubImage2D)>("glTexSubImage2D")(GL_TEXTURE_2D, 0, 0, 0, image.width, image.height,
                                                       transfer.format, transfer.type, image.shown.data());
    bind(GL_TEXTURE_2D, static_cast<GLuint>(bound));
    Real<decltype(glDeleteTextures)>("glDeleteTextures")(1, &texture);
}

/// An image of a new texture.
EGLImageKHR MakeStorage(EGLDisplay display, const Image& image)
{
    const Transfer transfer = TransferOf(image);
    GLint bound = 0;
    GLuint texture = 0;
    Real<decltype(glGetIntegerv)>("glGetIntegerv")(GL_TEXTURE_BINDING_2D, &bound);
    Real<decltype(glGenTextures)>("glGenTextures")(1, &texture);
    Real<decltype(glBindTexture)>("glBindTexture")(GL_TEXTURE_2D, texture);
    Real<decltype(glTexParameteri)>("glTexParameteri")(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    Real<decltype(glTexImage2D)>("glTexImage2D")(GL_TEXTURE_2D, 0, static_cast<GLint>(transfer.format), image.width,
                                                 image.height, 0, transfer.format, transfer.type, nullptr);
    const std::uintptr_t name = texture;
    const EGLImageKHR handle = Real<std::remove_pointer_t<PFNEGLCREATEIMAGEKHRPROC>>("eglCreateImageKHR")(
        display, Real<decltype(eglGetCurrentContext)>("eglGetCurrentContext")(), EGL_GL_TEXTURE_2D_KHR,
        reinterpret_cast<EGLClientBuffer>(name), nullptr);
    Real<decltype(glBindTexture)>("glBindTexture")(GL_TEXTURE_2D, static_cast<GLuint>(bound));
    Real<decltype(glDeleteTextures)>("glDeleteTextures")(1, &texture);
    return handle;
}

Image Describe(const EGLint* attribs)
{
    Image image;
    for (; attribs[0] != EGL_NONE; attribs += 2) {
        const auto size = static_cast<std::size_t>(attribs[1]);
        switch (attribs[0]) {
        case EGL_WIDTH:
            image.width = attribs[1];
            break;
        case EGL_HEIGHT:
            image.height = attribs[1];
            break;
        case EGL_LINUX_DRM_FOURCC_EXT:
            image.fourcc = static_cast<std::uint32_t>(attribs[1]);
            break;
        default:
            // FD, OFFSET and PITCH of the planes, one after the other.
            const int field = attribs[0] - EGL_DMA_BUF_PLANE0_FD_EXT;
            if (field < 0 || field >= 6)
                break;
            Plane& plane = image.planes[field / 3];
            if (field % 3 == 0)
                plane.descriptor = attribs[1];
            else
                (field % 3 == 1 ? plane.offset : plane.pitch) = size;
        }
    }
    return image;
}

EGLImageKHR Import(EGLDisplay display, const EGLint* attribs)
{
    Image image = Describe(attribs);
    for (Plane& plane : image.planes)
        if (plane.descriptor >= 0)
            plane.memory = static_cast<const std::uint8_t*>(mmap(nullptr, plane.offset + plane.pitch * image.height,
                                                                 PROT_READ, MAP_SHARED, plane.descriptor, 0)) +
                           plane.offset;
    const EGLImageKHR handle = MakeStorage(display, image);
    if (handle != EGL_NO_IMAGE_KHR)
        Images()[handle] = std::move(image);
    return handle;
}

} // namespace

extern "C" {

const char* EGLAPIENTRY eglQueryString(EGLDisplay display, EGLint name)
{
    const char* const live = Real<decltype(eglQueryString)>("eglQueryString")(display, name);
    if (live == nullptr || name != EGL_EXTENSIONS || display == EGL_NO_DISPLAY)
        return live;
    static std::string extensions;
    extensions = std::string(live) + " EGL_EXT_image_dma_buf_import EGL_EXT_image_dma_buf_import_modifiers";
    return extensions.c_str();
}

EGLImageKHR EGLAPIENTRY eglCreateImageKHR(EGLDisplay display, EGLContext context, EGLenum target,
                                          EGLClientBuffer buffer, const EGLint* attribs)
{
    if (target == EGL_LINUX_DMA_BUF_EXT)
        return Import(display, attribs);
    return Real<std::remove_pointer_t<PFNEGLCREATEIMAGEKHRPROC>>("eglCreateImageKHR")(display, context, target, buffer,
                                                                                      attribs);
}

EGLImage EGLAPIENTRY eglCreateImage(EGLDisplay display, EGLContext context, EGLenum target, EGLClientBuffer buffer,
                                    const EGLAttrib* attribs)
{
    if (target != EGL_LINUX_DMA_BUF_EXT)
        return Real<decltype(eglCreateImage)>("eglCreateImage")(display, context, target, buffer, attribs);
    std::vector<EGLint> list;
    for (; attribs[0] != EGL_NONE; attribs += 2)
        list.insert(list.end(), {static_cast<EGLint>(attribs[0]), static_cast<EGLint>(attribs[1])});
    list.push_back(EGL_NONE);
    return Import(display, list.data());
}

EGLBoolean EGLAPIENTRY eglDestroyImageKHR(EGLDisplay display, EGLImageKHR image)
{
    Images().erase(image);
    return Real<std::remove_pointer_t<PFNEGLDESTROYIMAGEKHRPROC>>("eglDestroyImageKHR")(display, image);
}

void GL_APIENTRY glDrawArrays(GLenum mode, GLint first, GLsizei count)
{
    for (auto& [handle, image] : Images())
        Upload(handle, image);
    Real<decltype(glDrawArrays)>("glDrawArrays")(mode, first, count);
}

/// Of what stands here, the library's own.
__eglMustCastToProperFunctionPointerType EGLAPIENTRY eglGetProcAddress(const char* name)
{
    const std::string wanted = name;
    const auto cast = [](auto* function) {
        return reinterpret_cast<__eglMustCastToProperFunctionPointerType>(function);
    };
    if (wanted == "eglCreateImageKHR")
        return cast(&eglCreateImageKHR);
    if (wanted == "eglDestroyImageKHR")
        return cast(&eglDestroyImageKHR);
    return Real<decltype(eglGetProcAddress)>("eglGetProcAddress")(name);
}
}
