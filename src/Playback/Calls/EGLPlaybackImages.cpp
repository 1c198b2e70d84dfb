// The part of EGLPlaybackAdapter that makes images and syncs.
#include "Playback/Calls/EGLPlaybackAdapter.h"

#include <EGL/eglext.h>
#include <unistd.h>

#include "Playback/Calls/LiveCall.h"

namespace Playback {

namespace {

/// Target of EGL_TAVO_create_image, which the older record layout could hold too.
constexpr std::int32_t TavoImageTarget = 0x3120;

/// True for images of memory outside of GL, whose pixels come with the capture. Pointers and descriptors of the
/// recorded program never reach the driver.
bool HasStandIn(EGLenum target)
{
    return target == EGL_NATIVE_BUFFER_ANDROID || target == EGL_LINUX_DMA_BUF_EXT;
}

} // namespace

EGLClientBuffer EGLPlaybackAdapter::GetEGLImageBuffer(EGLenum target, std::uint32_t capturedImage,
                                                      std::uint32_t capturedContext, std::uint32_t capturedBuffer)
{
    if (HasStandIn(target))
        return m_resourceTable->GetEGLImageBuffer(capturedImage);
    const std::uintptr_t texture = m_resourceTable->GetEGLImageTexture(capturedContext, capturedBuffer);
    return reinterpret_cast<EGLClientBuffer>(texture);
}

void EGLPlaybackAdapter::Process_eglCreateImageKHR(std::uint32_t captured, std::uint32_t dpy, std::uint32_t ctx,
                                                   std::int32_t target, std::uint32_t buffer,
                                                   Data::PointerData* attrib_list)
{
    Trace("eglCreateImageKHR", __LINE__);
    if (!LiveEGLExt.eglCreateImageKHR)
        return;
    const auto liveTarget = static_cast<EGLenum>(target);
    const EGLDisplay display = GetDisplay(dpy);
    const EGLContext context = m_resourceTable->GetValueEGLContext(ctx);
    const EGLClientBuffer clientBuffer = GetEGLImageBuffer(liveTarget, captured, ctx, buffer);
    // The stand-in is an image already.
    EGLImageKHR image = clientBuffer;
    if (!HasStandIn(liveTarget)) {
        image = LiveEGLExt.eglCreateImageKHR(display, context, liveTarget, clientBuffer, attrib_list->As<EGLint>());
        CheckErrorState("eglCreateImageKHR");
    }
    m_resourceTable->AddIdEGLImage(captured, image);
}

void EGLPlaybackAdapter::Process_eglCreateImageKHRv1(std::uint32_t captured, std::uint32_t dpy, std::uint32_t ctx,
                                                     std::int32_t target, std::uint32_t buffer,
                                                     Data::PointerData* attrib_list)
{
    if (target == TavoImageTarget || target == EGL_NATIVE_BUFFER_ANDROID) {
        Process_eglCreateImageKHR(captured, dpy, ctx, target, buffer, attrib_list);
        return;
    }
    Trace("eglCreateImageKHRv1", __LINE__);
    const std::string name =
        Core::LogFormat::NameOrHex(Core::LogFormat::GetEGLEnumString, static_cast<unsigned int>(target));
    PLAYBACK_LOG(Warning, General, SourceFile,
                 "This file contains a deprecated eglCreateImageKHR block that does not support playback for the "
                 "%s target",
                 name.c_str());
}

void EGLPlaybackAdapter::Process_eglDestroyImageKHR(std::int32_t /*captured*/, std::uint32_t dpy, std::uint32_t image)
{
    Trace("eglDestroyImageKHR", __LINE__);
    if (!LiveEGLExt.eglDestroyImageKHR)
        return;
    const EGLDisplay display = GetDisplay(dpy);
    LiveEGLExt.eglDestroyImageKHR(display, m_resourceTable->GetValueEGLImage(image));
    CheckErrorState("eglDestroyImageKHR");
    m_resourceTable->RemoveIdEGLImage(image);
    m_resourceTable->RemoveEGLImageBuffer(image);
    m_resourceTable->RemoveTextureEGLImage(image);
}

// What an image is exported for is not here: the driver is not asked, whose descriptors nobody would close and whose
// planes may be more than the captured ones.

void EGLPlaybackAdapter::Process_eglExportDMABUFImageQueryMESA(std::int32_t /*captured*/, std::uint32_t /*dpy*/,
                                                               std::uint32_t /*image*/, Data::PointerData* /*fourcc*/,
                                                               Data::PointerData* /*num_planes*/,
                                                               Data::PointerData* /*modifiers*/)
{
    Trace("eglExportDMABUFImageQueryMESA", __LINE__);
}

void EGLPlaybackAdapter::Process_eglExportDMABUFImageMESA(std::int32_t /*captured*/, std::uint32_t /*dpy*/,
                                                          std::uint32_t /*image*/, Data::PointerData* /*fds*/,
                                                          Data::PointerData* /*strides*/,
                                                          Data::PointerData* /*offsets*/)
{
    Trace("eglExportDMABUFImageMESA", __LINE__);
}

template <class Function, class Attrib>
EGLSyncKHR EGLPlaybackAdapter::CreateFence(Function function, EGLDisplay display, EGLenum type, const Attrib* attribs)
{
    if (type == EGL_SYNC_NATIVE_FENCE_ANDROID && !LiveEGLExt.eglDupNativeFenceFDANDROID)
        return CallLive(function, display, EGLenum{EGL_SYNC_FENCE_KHR}, static_cast<const Attrib*>(nullptr));
    if (type != EGL_SYNC_NATIVE_FENCE_ANDROID || !attribs)
        return CallLive(function, display, type, attribs);
    std::vector<Attrib> list;
    for (; attribs[0] != EGL_NONE; attribs += 2) {
        Attrib value = attribs[1];
        if (attribs[0] == EGL_SYNC_NATIVE_FENCE_FD_ANDROID && value != EGL_NO_NATIVE_FENCE_FD_ANDROID) {
            value = EGL_NO_NATIVE_FENCE_FD_ANDROID;
            PLAYBACK_LOG(Notice, General, SourceFile,
                         "Overriding EGL_SYNC_NATIVE_FENCE_ANDROID file descriptor with "
                         "EGL_NO_NATIVE_FENCE_FD_ANDROID");
        }
        list.insert(list.end(), {attribs[0], value});
    }
    list.push_back(EGL_NONE);
    return CallLive(function, display, type, static_cast<const Attrib*>(list.data()));
}

EGLSyncKHR EGLPlaybackAdapter::CreateSyncKHR(EGLDisplay display, EGLenum type, const EGLint* attribs)
{
    return CreateFence(LiveEGLExt.eglCreateSyncKHR, display, type, attribs);
}

void EGLPlaybackAdapter::Process_eglCreateSync(std::uint32_t captured, std::uint32_t dpy, std::int32_t type,
                                               Data::PointerData* attrib_list)
{
    Trace("eglCreateSync", __LINE__);
    if (!LiveEGL.eglCreateSync)
        return;
    const EGLSync sync = CreateFence(LiveEGL.eglCreateSync, GetDisplay(dpy), static_cast<EGLenum>(type),
                                     attrib_list->As<const EGLAttrib>());
    CheckErrorState("eglCreateSync");
    m_resourceTable->AddIdEGLSync(captured, sync);
}

void EGLPlaybackAdapter::Process_eglCreateSync64KHR(std::uint32_t captured, std::uint32_t dpy, std::int32_t type,
                                                    Data::PointerData* attrib_list)
{
    Trace("eglCreateSync64KHR", __LINE__);
    if (!LiveEGLExt.eglCreateSync64KHR)
        return;
    const EGLSyncKHR sync = CreateFence(LiveEGLExt.eglCreateSync64KHR, GetDisplay(dpy), static_cast<EGLenum>(type),
                                        attrib_list->As<const EGLAttribKHR>());
    CheckErrorState("eglCreateSync64KHR");
    m_resourceTable->AddIdEGLSync(captured, sync);
}

void EGLPlaybackAdapter::Process_eglDupNativeFenceFDANDROID(std::int32_t /*captured*/, std::uint32_t dpy,
                                                            std::uint32_t sync)
{
    Trace("eglDupNativeFenceFDANDROID", __LINE__);
    if (!LiveEGLExt.eglDupNativeFenceFDANDROID)
        return;
    const EGLDisplay display = GetDisplay(dpy);
    const int descriptor = LiveEGLExt.eglDupNativeFenceFDANDROID(display, m_resourceTable->GetValueEGLSync(sync));
    CheckErrorState("eglDupNativeFenceFDANDROID");
    // The one whom the recorded program gave it to is not here.
    if (descriptor >= 0)
        close(descriptor);
}

void EGLPlaybackAdapter::Process_eglCreateSyncKHR(std::uint32_t captured, std::uint32_t dpy, std::int32_t type,
                                                  Data::PointerData* attrib_list)
{
    Trace("eglCreateSyncKHR", __LINE__);
    if (!LiveEGLExt.eglCreateSyncKHR)
        return;
    const EGLDisplay display = GetDisplay(dpy);
    const EGLSyncKHR sync = CreateSyncKHR(display, static_cast<EGLenum>(type), attrib_list->As<EGLint>());
    CheckErrorState("eglCreateSyncKHR");
    m_resourceTable->AddIdEGLSync(captured, sync);
}

void EGLPlaybackAdapter::Process_eglGetSyncObjFromEglSyncTAVO(std::int32_t /*captured*/, std::uint32_t dpy,
                                                              std::uint32_t sync, std::uint32_t obj)
{
    Trace("eglGetSyncObjFromEglSyncTAVO", __LINE__);
    if (!LiveEGLExt.eglGetSyncObjFromEglSyncTAVO)
        return;
    const EGLDisplay display = GetDisplay(dpy);
    void* object = nullptr;
    LiveEGLExt.eglGetSyncObjFromEglSyncTAVO(display, m_resourceTable->GetValueEGLSync(sync), &object);
    CheckErrorState("eglGetSyncObjFromEglSyncTAVO");
    m_resourceTable->AddIdEGLVoidPtr(obj, object);
}

void EGLPlaybackAdapter::SetBlobCacheFuncs(EGLDisplay display, const Data::PointerData* set,
                                           const Data::PointerData* get)
{
    PLAYBACK_LOG(Diagnostic, General, SourceFile, "Ignoring eglSetBlobCacheFuncsANDROID(%p, %p, %p)", display,
                 reinterpret_cast<void*>(set->GetCapturedPointer()),
                 reinterpret_cast<void*>(get->GetCapturedPointer()));
}

void EGLPlaybackAdapter::Process_eglSetBlobCacheFuncsANDROID(std::uint32_t dpy, Data::PointerData* set,
                                                             Data::PointerData* get)
{
    Trace("eglSetBlobCacheFuncsANDROID", __LINE__);
    if (LiveEGLExt.eglSetBlobCacheFuncsANDROID)
        SetBlobCacheFuncs(GetDisplay(dpy), set, get);
}

} // namespace Playback
