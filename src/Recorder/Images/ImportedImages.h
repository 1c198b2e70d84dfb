// EGLImages of memory that the program imports. No call has their pixels, so they are read, and recorded as
// EGLImageContent, ahead of the calls by which the program tells of new ones: glEGLImageTarget..., and glBindTexture of
// a texture with such an image, which is looked at once in a frame.
#pragma once

#include <atomic>
#include <functional>

#include "Recorder/Context.h"
#include "Recorder/Platform.h"

namespace Recorder {

/// Appends the record of a call.
using RecordOfCall = std::function<void(const Capturing& capturing)>;

/// Records the call that imported `image`, after what describes the image to a replay, and watches the image. May run
/// out of memory.
void RecordImport(EGLDisplay display, EGLImageKHR image, const EGLint* attribs, const RecordOfCall& recordCall);
/// Ahead of the driver's call that ends the image.
void RemoveImportedImage(EGLImageKHR image) noexcept;
/// Ahead of the one that ends all those of the display.
void RemoveImportedImages(EGLDisplay display) noexcept;

// Read by calls of programs without any such image, too.
extern std::atomic<bool> hasImportedImages;

void RecordUse(Context& context, GLenum target, EGLImageKHR image) noexcept;
void RecordBinding(Context& context, GLuint texture) noexcept;

/// Ahead of a call that makes the image the storage of what is bound to `target`; 0 stands for another object.
inline void BeforeImageUse(Context& context, GLenum target, EGLImageKHR image)
{
    if (hasImportedImages.load(std::memory_order_relaxed)) [[unlikely]]
        RecordUse(context, target, image);
}

/// Ahead of a call that binds the texture.
inline void BeforeTextureBinding(Context& context, GLuint texture)
{
    if (hasImportedImages.load(std::memory_order_relaxed)) [[unlikely]]
        RecordBinding(context, texture);
}

} // namespace Recorder
