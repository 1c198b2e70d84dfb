#pragma once

#include <cstddef>
#include <unordered_map>

#include "Playback/Names/BufferMappings.h"
#include "Playback/Names/CapturedContexts.h"
#include "Playback/Names/DisplayHandles.h"
#include "Playback/Names/ImageBuffers.h"
#include "Playback/Names/ObjectNames.h"
#include "Playback/Names/ProgramLocations.h"

namespace Playback {

// What the table below does with each kind of name, in the part that it belongs to.
#define GL_OBJECT(Kind)                                                                                                \
    void AddIdGL##Kind(unsigned int id, unsigned int name)                                                             \
    {                                                                                                                  \
        m_names.Add(NameKind::Kind, id, name);                                                                         \
    }                                                                                                                  \
    unsigned int GetValueGL##Kind(unsigned int id) const                                                               \
    {                                                                                                                  \
        return m_names.Get(NameKind::Kind, id);                                                                        \
    }                                                                                                                  \
    void RemoveIdGL##Kind(unsigned int id)                                                                             \
    {                                                                                                                  \
        m_names.Remove(NameKind::Kind, id);                                                                            \
    }
#define ADD_LOCATION(Name, kind)                                                                                       \
    void AddIdGL##Name(unsigned int program, int location, int liveLocation)                                           \
    {                                                                                                                  \
        m_locations.Add(LocationKind::kind, program, location, liveLocation);                                          \
    }
#define GET_LOCATION(Name, kind)                                                                                       \
    int GetValueGL##Name(unsigned int program, int location) const                                                     \
    {                                                                                                                  \
        return m_locations.Get(LocationKind::kind, program, location);                                                 \
    }

/// Translates what the capture names to what this machine's driver returned for it: GL object names, program
/// locations, EGL handles, and the records of mapped buffers and EGLImages.
///
/// Captured identifiers are 32-bit numbers; 0 and 0xFFFFFFFF are never mapped. A lookup that fails is reported in the
/// log and yields a value to go on with: 0 for object names, the captured value for textures and locations, null for
/// handles. GL names live in the maps of a context or of its share group; EGL handles in those of a display.
///
/// One table serves a whole replay. Replay thread only: captured threads are data here, see SetCurrentThread.
///
/// A facade: each group of operations below belongs to the part that it names, whose header has the rest.
class GLResourceTable {
public:
    using DisplayResources = Playback::DisplayResources;
    using AttribMap = Playback::AttribMap;

    GLResourceTable() = default;
    GLResourceTable(const GLResourceTable&) = delete;
    GLResourceTable& operator=(const GLResourceTable&) = delete;

    /// Deletes every live object that is still mapped, context by context, then the contexts, images and syncs of each
    /// display. The displays stay initialised.
    void ReleaseResources();

    // CapturedContexts: the captured thread that is being replayed, its client API, its context, its program.

    void SetCurrentAPI(unsigned int api) { m_contexts.SetCurrentAPI(api); }
    /// False when the current thread never bound an API.
    bool GetCurrentAPI(unsigned int* api) const { return m_contexts.GetCurrentAPI(api); }
    /// To be called after each make-current, with its captured arguments.
    void SetCurrentContext(unsigned int display, unsigned int drawSurface, unsigned int readSurface,
                           unsigned int context)
    {
        m_contexts.SetCurrentContext({display, drawSurface, readSurface, context});
    }
    /// What the current thread made current; any pointer may be null. False when it never made anything current.
    bool GetCurrentContextInfo(unsigned int* display, unsigned int* drawSurface, unsigned int* readSurface,
                               unsigned int* context) const;
    /// Whether any captured thread has this context, or surface, of the display current.
    bool IsContextCurrent(unsigned int display, unsigned int context) const
    {
        return m_contexts.IsContextCurrent(display, context);
    }
    bool IsSurfaceCurrent(unsigned int display, unsigned int surface) const
    {
        return m_contexts.IsSurfaceCurrent(display, surface);
    }
    /// Makes `thread` the current one and tells whether that changed the API and the context; either pointer may be
    /// null. Returns whether the API changed. A thread not seen before has OpenGL ES bound and no context.
    bool SetCurrentThread(unsigned int thread, bool* apiChanged, bool* contextChanged)
    {
        return m_contexts.SetCurrentThread(thread, apiChanged, contextChanged);
    }
    void SetCurrentProgram(unsigned int program) { m_contexts.SetCurrentProgram(program); }
    /// The captured program in use in the current context, 0 when there is none.
    unsigned int GetCurrentProgram() const { return m_contexts.GetCurrentProgram(); }
    /// Forgets a destroyed context and the maps under its own key. The maps of a share group are under the key of the
    /// group's root context and go with that one.
    void RemoveContextInfo(unsigned int context) { m_contexts.RemoveContextInfo(context); }

    // ShareGroups. The first context of a group is its root, and the group's maps are under the root's key.

    /// Puts `context` into the group of `shareContext`; does nothing when that is 0 or `context` is in a group already.
    void SetSharedContextAssociation(unsigned int context, unsigned int shareContext)
    {
        m_contexts.Groups().Join(context, shareContext);
    }
    /// The root of the context's group, which is the context itself when it shares with none.
    unsigned int GetSharedResourceIndex(unsigned int context) const
    {
        return m_contexts.Groups().Root(context, context);
    }
    /// The root of the context's group, 0 when it shares with none.
    unsigned int GetSharedContextAssociation(unsigned int context) const
    {
        return m_contexts.Groups().Root(context, 0);
    }
    void RemoveSharedContextAssociation(unsigned int context) { m_contexts.Groups().Leave(context); }

    // ObjectNames: AddIdGLBuffer, GetValueGLBuffer, RemoveIdGLBuffer and so on for each kind. Framebuffers, queries,
    // vertex arrays, transform feedbacks, performance monitors, their groups and counters belong to the current
    // context, all others to its share group. A texture that was never added is its captured name, without a message:
    // it may come from outside the capture.

    GL_OBJECT(Program);
    GL_OBJECT(Shader);
    GL_OBJECT(Buffer);
    GL_OBJECT(Framebuffer);
    GL_OBJECT(Renderbuffer);
    GL_OBJECT(Texture);
    GL_OBJECT(Sampler);
    GL_OBJECT(Query);
    GL_OBJECT(VertexArray);
    GL_OBJECT(TransformFeedback);
    GL_OBJECT(Pipeline);
    GL_OBJECT(PerfMonitor);
    GL_OBJECT(PerfMonitorGroup);
    GL_OBJECT(Counter);
    GL_OBJECT(MemoryObject);
    GL_OBJECT(Semaphore);
    /// Asks without a message.
    bool HasGLFramebuffer(unsigned int id) const { return m_names.Has(NameKind::Framebuffer, id); }
    void AddIdGLSharedBuffer(int id, int name) { m_names.AddSharedBuffer(id, name); }
    int GetValueGLSharedBuffer(int id) const { return m_names.GetSharedBuffer(id); }
    void RemoveIdGLSharedBuffer(int id) { m_names.RemoveSharedBuffer(id); }
    /// Live pointers for captured ones that are no object names, such as sync objects.
    void AddIdGLVoidPtr(unsigned int id, void* value) { m_names.AddVoidPtr(id, value); }
    void* GetValueGLVoidPtr(unsigned int id) const { return m_names.GetVoidPtr(id); }
    void RemoveIdGLVoidPtr(unsigned int id) { m_names.RemoveVoidPtr(id); }

    // ProgramLocations: locations inside a captured program, kept in the share group. A location that is not mapped is
    // itself. Those of fragment data are kept and never asked for.

    ADD_LOCATION(AttribLocation, Attrib);
    GET_LOCATION(AttribLocation, Attrib);
    ADD_LOCATION(UniformLocation, Uniform);
    GET_LOCATION(UniformLocation, Uniform);
    ADD_LOCATION(UniformBlockIndex, UniformBlock);
    GET_LOCATION(UniformBlockIndex, UniformBlock);
    ADD_LOCATION(FragDataLocation, FragData);
    ADD_LOCATION(FragDataIndex, FragDataIndex);

    // DisplayHandles. GetValueEGLDisplay selects the display whose maps all the others use, so each call's display
    // argument must be translated first.

    void AddIdEGLDisplay(unsigned int id, void* display) { m_handles.AddDisplay(id, display); }
    void* GetValueEGLDisplay(unsigned int id) { return m_handles.GetDisplay(id); }
    void RemoveIdEGLDisplay(unsigned int id);
    /// Null for a display that was never added.
    DisplayResources* GetDisplayResource(unsigned int display) { return m_handles.GetResources(display); }
    /// How many captured displays have this live one.
    std::size_t CountEGLDisplays(const void* liveDisplay) const { return m_handles.CountDisplays(liveDisplay); }

    void AddIdEGLConfig(unsigned int id, void* config) { m_handles.Add(ConfigHandles, id, config); }
    void* GetValueEGLConfig(unsigned int id) { return m_handles.Get(ConfigHandles, id); }
    void RemoveIdEGLConfig(unsigned int id) { m_handles.Remove(ConfigHandles, id); }
    void AddIdEGLContext(unsigned int id, void* context) { m_handles.Add(ContextHandles, id, context); }
    void* GetValueEGLContext(unsigned int id) { return m_handles.Get(ContextHandles, id); }
    void RemoveIdEGLContext(unsigned int id) { m_handles.Remove(ContextHandles, id); }
    void AddIdEGLSurface(unsigned int id, EGLProxySurface* surface) { m_handles.Add(SurfaceHandles, id, surface); }
    EGLProxySurface* GetValueEGLSurface(unsigned int id) { return m_handles.Get(SurfaceHandles, id); }
    void RemoveIdEGLSurface(unsigned int id) { m_handles.Remove(SurfaceHandles, id); }
    void AddIdEGLImage(unsigned int id, void* image) { m_handles.Add(ImageHandles, id, image); }
    void* GetValueEGLImage(unsigned int id) { return m_handles.Get(ImageHandles, id); }
    void RemoveIdEGLImage(unsigned int id);
    void AddIdEGLSync(unsigned int id, void* sync) { m_handles.Add(SyncHandles, id, sync); }
    void* GetValueEGLSync(unsigned int id) { return m_handles.Get(SyncHandles, id); }
    void RemoveIdEGLSync(unsigned int id) { m_handles.Remove(SyncHandles, id); }
    /// Untyped handles; these belong to no display.
    void AddIdEGLVoidPtr(unsigned int id, void* value) { m_handles.AddVoidPtr(id, value); }
    void* GetValueEGLVoidPtr(unsigned int id) const { return m_handles.GetVoidPtr(id); }
    void RemoveIdEGLVoidPtr(unsigned int id) { m_handles.RemoveVoidPtr(id); }

    /// Attributes that the capture recorded, as (attribute, value) pairs up to EGL_NONE. The first value recorded for
    /// an attribute stays.
    void AddEGLConfigAttribs(unsigned int config, const int* attribs) { m_handles.AddConfigAttribs(config, attribs); }
    void AddEGLSurfaceAttribs(unsigned int surface, const int* attribs)
    {
        m_handles.AddSurfaceAttribs(surface, attribs);
    }
    /// Null when none were recorded.
    const AttribMap* GetEGLConfigAttribs(unsigned int config) const { return m_handles.GetConfigAttribs(config); }
    const AttribMap* GetEGLSurfaceAttribs(unsigned int surface) const { return m_handles.GetSurfaceAttribs(surface); }

    // BufferMappings of the current context, one for each binding point. Lengths and offsets are in bytes.

    /// Remembers a live mapping that can be written. A mapping that cannot drops the binding's earlier record.
    void MapBuffer(unsigned long capturedPointer, unsigned int target, unsigned int length, unsigned int access,
                   unsigned char* data)
    {
        m_mappings.MapBuffer(capturedPointer, target, length, access, data);
    }
    /// The pointer that the captured map call returned, 0 when nothing is mapped there.
    unsigned long GetMappedBufferId(unsigned int target) { return m_mappings.GetMappedBufferId(target); }
    /// The live memory mapped there, null when nothing is.
    const unsigned char* GetMappedData(unsigned int target) const { return m_mappings.GetMappedData(target); }
    /// Copies the captured bytes into the mapping. The range is not compared with the length of the mapping.
    void FlushMappedBufferRange(unsigned int target, unsigned int offset, unsigned int length,
                                unsigned char* capturedData)
    {
        m_mappings.FlushMappedBufferRange(target, offset, length, capturedData);
    }
    /// Copies the captured bytes, as far as the mapping reaches, and forgets the mapping.
    void UnmapBuffer(unsigned int target, unsigned int length, unsigned char* capturedData)
    {
        m_mappings.UnmapBuffer(target, length, capturedData);
    }

    // ImageBuffers: the client buffers of EGLImages, and the textures and renderbuffers that use the images.

    /// Makes the image's client buffer, with one use. A buffer made for an image that has one is neither kept nor
    /// freed. Where this driver has no such buffers, a texture stands in for it if that is possible.
    void AddEGLImageBuffer(unsigned int display, unsigned int image, const Data::EGLImageData& data)
    {
        m_images.AddEGLImageBuffer(display, image, data);
    }
    void SetEGLImageData(unsigned int image, const Data::EGLImageData& data) { m_images.SetEGLImageData(image, data); }
    /// The native buffer to create the live image from, or its stand-in; null when the image has neither.
    void* GetEGLImageBuffer(unsigned int image) { return m_images.GetEGLImageBuffer(image); }
    void AddEGLImageBufferRef(unsigned int image) { m_images.AddEGLImageBufferRef(image); }
    /// Drops one use; the last one frees the buffer.
    void RemoveEGLImageBuffer(unsigned int image) { m_images.RemoveEGLImageBuffer(image); }

    /// Image of each captured texture or renderbuffer; null for a target that takes no image.
    std::unordered_map<int, unsigned int>* GetTextureEGLImageMap(unsigned int target)
    {
        return m_images.GetTextureEGLImageMap(target);
    }
    /// 0 when the object has no image.
    unsigned int GetTextureEGLImage(unsigned int target, int texture)
    {
        return m_images.GetTextureEGLImage(target, texture);
    }
    /// For an object without an image; an image that it has stays.
    void AddTextureEGLImage(unsigned int target, int texture, unsigned int image)
    {
        m_images.AddTextureEGLImage(target, texture, image);
    }
    /// For an object that has an image; does nothing for others.
    void SetTextureEGLImage(unsigned int target, int texture, unsigned int image)
    {
        m_images.SetTextureEGLImage(target, texture, image);
    }
    /// Forgets a destroyed image: at most one renderbuffer and one texture lose it.
    void RemoveTextureEGLImage(unsigned int image) { m_images.RemoveTextureEGLImage(image); }
    /// The live texture of a captured context itself, not of its share group; 0 when there is none, without a message.
    unsigned int GetEGLImageTexture(unsigned int context, unsigned int texture) const;

private:
    CapturedContexts m_contexts;
    ObjectNames m_names{m_contexts};
    ProgramLocations m_locations{m_contexts};
    BufferMappings m_mappings{m_contexts};
    DisplayHandles m_handles;
    ImageBuffers m_images{m_handles};
};

#undef GL_OBJECT
#undef ADD_LOCATION
#undef GET_LOCATION

} // namespace Playback
