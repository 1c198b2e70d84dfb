#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>

#include "Playback/Names/ContextResources.h"

namespace Data {
struct EGLImageData;
}

namespace Playback {

class EGLImageBuffer;
class EGLProxySurface;
class EGLTextureImage;

/// Translates what the capture names to what this machine's driver returned for it: GL object names, program
/// locations, EGL handles, and the records behind mapped buffers and EGLImages.
///
/// Captured identifiers are 32-bit numbers; 0 and 0xFFFFFFFF are never mapped. A lookup that fails is reported in the
/// log and yields a value to go on with: 0 for object names, the captured value for textures and locations, null for
/// handles. GL names live in the maps of a context or of its share group; EGL handles in those of a display.
///
/// One table serves a whole replay. Replay thread only: captured threads are data here, see SetCurrentThread.
class GLResourceTable {
public:
    /// What one captured display has: its live display and the live handles behind its captured ones.
    struct DisplayResources {
        void* display = nullptr;
        std::unordered_map<unsigned int, void*> configs;
        std::unordered_map<unsigned int, void*> contexts;
        /// The factory that made the surfaces owns them.
        std::unordered_map<unsigned int, EGLProxySurface*> surfaces;
        std::unordered_map<unsigned int, void*> images;
        std::unordered_map<unsigned int, void*> syncs;
    };

    /// EGL attributes and their values.
    using AttribMap = std::unordered_map<int, int>;

    GLResourceTable();
    ~GLResourceTable();
    GLResourceTable(const GLResourceTable&) = delete;
    GLResourceTable& operator=(const GLResourceTable&) = delete;

    /// Deletes every live object that is still mapped, context by context, then the contexts, images and syncs of each
    /// display. The displays stay initialised.
    void ReleaseResources();

    // The captured thread that is being replayed: its client API, its context, its program.

    void SetCurrentAPI(unsigned int api);
    /// False when the current thread never bound an API.
    bool GetCurrentAPI(unsigned int* api) const;
    /// To be called after each make-current, with its captured arguments.
    void SetCurrentContext(unsigned int display, unsigned int drawSurface, unsigned int readSurface,
                           unsigned int context);
    /// What the current thread made current; any pointer may be null. False when it never made anything current.
    bool GetCurrentContextInfo(unsigned int* display, unsigned int* drawSurface, unsigned int* readSurface,
                               unsigned int* context) const;
    /// Whether any captured thread has this context, or surface, of the display current.
    bool IsContextCurrent(unsigned int display, unsigned int context) const;
    bool IsSurfaceCurrent(unsigned int display, unsigned int surface) const;
    /// Makes `thread` the current one and tells whether that changed the API and the context; either pointer may be
    /// null. Returns whether the API changed. A thread not seen before has OpenGL ES bound and no context.
    bool SetCurrentThread(unsigned int thread, bool* apiChanged, bool* contextChanged);
    void SetCurrentProgram(unsigned int program);
    /// The captured program in use in the current context, 0 when there is none.
    unsigned int GetCurrentProgram() const { return m_currentProgram; }
    /// Forgets a destroyed context and the maps under its own key. The maps of a share group are under the key of the
    /// group's root context and go with that one.
    void RemoveContextInfo(unsigned int context);

    // Share groups. The first context of a group is its root, and the group's maps are under the root's key.

    /// Puts `context` into the group of `shareContext`; does nothing when that is 0 or `context` is in a group already.
    void SetSharedContextAssociation(unsigned int context, unsigned int shareContext);
    /// The root of the context's group, which is the context itself when it shares with none.
    unsigned int GetSharedResourceIndex(unsigned int context) const;
    /// The root of the context's group, 0 when it shares with none.
    unsigned int GetSharedContextAssociation(unsigned int context) const;
    void RemoveSharedContextAssociation(unsigned int context);

    // GL object names. Framebuffers, queries, vertex arrays, transform feedbacks, performance monitors, their groups
    // and counters belong to the current context, all others to its share group.

    void AddIdGLProgram(unsigned int id, unsigned int name) { AddName(NameKind::Program, id, name); }
    unsigned int GetValueGLProgram(unsigned int id) const { return GetName(NameKind::Program, id); }
    void RemoveIdGLProgram(unsigned int id) { RemoveName(NameKind::Program, id); }
    void AddIdGLShader(unsigned int id, unsigned int name) { AddName(NameKind::Shader, id, name); }
    unsigned int GetValueGLShader(unsigned int id) const { return GetName(NameKind::Shader, id); }
    void RemoveIdGLShader(unsigned int id) { RemoveName(NameKind::Shader, id); }
    void AddIdGLBuffer(unsigned int id, unsigned int name) { AddName(NameKind::Buffer, id, name); }
    unsigned int GetValueGLBuffer(unsigned int id) const { return GetName(NameKind::Buffer, id); }
    void RemoveIdGLBuffer(unsigned int id) { RemoveName(NameKind::Buffer, id); }
    void AddIdGLFramebuffer(unsigned int id, unsigned int name) { AddName(NameKind::Framebuffer, id, name); }
    unsigned int GetValueGLFramebuffer(unsigned int id) const { return GetName(NameKind::Framebuffer, id); }
    /// Asks without a message.
    bool HasGLFramebuffer(unsigned int id) const { return HasName(NameKind::Framebuffer, id); }
    void RemoveIdGLFramebuffer(unsigned int id) { RemoveName(NameKind::Framebuffer, id); }
    void AddIdGLRenderbuffer(unsigned int id, unsigned int name) { AddName(NameKind::Renderbuffer, id, name); }
    unsigned int GetValueGLRenderbuffer(unsigned int id) const { return GetName(NameKind::Renderbuffer, id); }
    void RemoveIdGLRenderbuffer(unsigned int id) { RemoveName(NameKind::Renderbuffer, id); }
    void AddIdGLTexture(unsigned int id, unsigned int name) { AddName(NameKind::Texture, id, name); }
    /// A texture that was never added is its captured name, without a message: it may come from outside the capture.
    unsigned int GetValueGLTexture(unsigned int id) const { return GetName(NameKind::Texture, id); }
    void RemoveIdGLTexture(unsigned int id) { RemoveName(NameKind::Texture, id); }
    void AddIdGLSampler(unsigned int id, unsigned int name) { AddName(NameKind::Sampler, id, name); }
    unsigned int GetValueGLSampler(unsigned int id) const { return GetName(NameKind::Sampler, id); }
    void RemoveIdGLSampler(unsigned int id) { RemoveName(NameKind::Sampler, id); }
    void AddIdGLQuery(unsigned int id, unsigned int name) { AddName(NameKind::Query, id, name); }
    unsigned int GetValueGLQuery(unsigned int id) const { return GetName(NameKind::Query, id); }
    void RemoveIdGLQuery(unsigned int id) { RemoveName(NameKind::Query, id); }
    void AddIdGLVertexArray(unsigned int id, unsigned int name) { AddName(NameKind::VertexArray, id, name); }
    unsigned int GetValueGLVertexArray(unsigned int id) const { return GetName(NameKind::VertexArray, id); }
    void RemoveIdGLVertexArray(unsigned int id) { RemoveName(NameKind::VertexArray, id); }
    void AddIdGLTransformFeedback(unsigned int id, unsigned int name)
    {
        AddName(NameKind::TransformFeedback, id, name);
    }
    unsigned int GetValueGLTransformFeedback(unsigned int id) const { return GetName(NameKind::TransformFeedback, id); }
    void RemoveIdGLTransformFeedback(unsigned int id) { RemoveName(NameKind::TransformFeedback, id); }
    void AddIdGLPipeline(unsigned int id, unsigned int name) { AddName(NameKind::Pipeline, id, name); }
    unsigned int GetValueGLPipeline(unsigned int id) const { return GetName(NameKind::Pipeline, id); }
    void RemoveIdGLPipeline(unsigned int id) { RemoveName(NameKind::Pipeline, id); }
    void AddIdGLPerfMonitor(unsigned int id, unsigned int name) { AddName(NameKind::PerfMonitor, id, name); }
    unsigned int GetValueGLPerfMonitor(unsigned int id) const { return GetName(NameKind::PerfMonitor, id); }
    void RemoveIdGLPerfMonitor(unsigned int id) { RemoveName(NameKind::PerfMonitor, id); }
    void AddIdGLPerfMonitorGroup(unsigned int id, unsigned int name) { AddName(NameKind::PerfMonitorGroup, id, name); }
    unsigned int GetValueGLPerfMonitorGroup(unsigned int id) const { return GetName(NameKind::PerfMonitorGroup, id); }
    void RemoveIdGLPerfMonitorGroup(unsigned int id) { RemoveName(NameKind::PerfMonitorGroup, id); }
    void AddIdGLCounter(unsigned int id, unsigned int name) { AddName(NameKind::Counter, id, name); }
    unsigned int GetValueGLCounter(unsigned int id) const { return GetName(NameKind::Counter, id); }
    void RemoveIdGLCounter(unsigned int id) { RemoveName(NameKind::Counter, id); }
    void AddIdGLMemoryObject(unsigned int id, unsigned int name) { AddName(NameKind::MemoryObject, id, name); }
    unsigned int GetValueGLMemoryObject(unsigned int id) const { return GetName(NameKind::MemoryObject, id); }
    void RemoveIdGLMemoryObject(unsigned int id) { RemoveName(NameKind::MemoryObject, id); }
    void AddIdGLSemaphore(unsigned int id, unsigned int name) { AddName(NameKind::Semaphore, id, name); }
    unsigned int GetValueGLSemaphore(unsigned int id) const { return GetName(NameKind::Semaphore, id); }
    void RemoveIdGLSemaphore(unsigned int id) { RemoveName(NameKind::Semaphore, id); }
    void AddIdGLSharedBuffer(int id, int name);
    int GetValueGLSharedBuffer(int id) const;
    void RemoveIdGLSharedBuffer(int id);
    /// Live pointers behind captured ones that are no object names, such as sync objects.
    void AddIdGLVoidPtr(unsigned int id, void* value);
    void* GetValueGLVoidPtr(unsigned int id) const;
    void RemoveIdGLVoidPtr(unsigned int id);

    // Locations inside a captured program, kept in the share group. A location that is not mapped is itself.

    void AddIdGLAttribLocation(unsigned int program, int location, int liveLocation);
    int GetValueGLAttribLocation(unsigned int program, int location) const
    {
        return GetLocation(LocationKind::Attrib, program, location);
    }
    void AddIdGLUniformLocation(unsigned int program, int location, int liveLocation);
    int GetValueGLUniformLocation(unsigned int program, int location) const
    {
        return GetLocation(LocationKind::Uniform, program, location);
    }
    void AddIdGLUniformBlockIndex(unsigned int program, int index, int liveIndex);
    int GetValueGLUniformBlockIndex(unsigned int program, int index) const
    {
        return GetLocation(LocationKind::UniformBlock, program, index);
    }
    void AddIdGLFragDataLocation(unsigned int program, int location, int liveLocation);
    void AddIdGLFragDataIndex(unsigned int program, int index, int liveIndex);

    // EGL handles. GetValueEGLDisplay selects the display whose maps all the others use, so each call's display
    // argument must be translated first.

    void AddIdEGLDisplay(unsigned int id, void* display);
    void* GetValueEGLDisplay(unsigned int id);
    void RemoveIdEGLDisplay(unsigned int id);
    /// Null for a display that was never added.
    DisplayResources* GetDisplayResource(unsigned int display);
    /// How many captured displays have this live one.
    std::size_t CountEGLDisplays(const void* liveDisplay) const;

    void AddIdEGLConfig(unsigned int id, void* config);
    void* GetValueEGLConfig(unsigned int id);
    void RemoveIdEGLConfig(unsigned int id);
    void AddIdEGLContext(unsigned int id, void* context);
    void* GetValueEGLContext(unsigned int id);
    void RemoveIdEGLContext(unsigned int id);
    void AddIdEGLSurface(unsigned int id, EGLProxySurface* surface);
    EGLProxySurface* GetValueEGLSurface(unsigned int id);
    void RemoveIdEGLSurface(unsigned int id);
    void AddIdEGLImage(unsigned int id, void* image);
    void* GetValueEGLImage(unsigned int id);
    void RemoveIdEGLImage(unsigned int id);
    void AddIdEGLSync(unsigned int id, void* sync);
    void* GetValueEGLSync(unsigned int id);
    void RemoveIdEGLSync(unsigned int id);
    /// Untyped handles; these belong to no display.
    void AddIdEGLVoidPtr(unsigned int id, void* value);
    void* GetValueEGLVoidPtr(unsigned int id) const;
    void RemoveIdEGLVoidPtr(unsigned int id);

    /// Attributes that the capture recorded, as (attribute, value) pairs up to EGL_NONE. The first value recorded for
    /// an attribute stays.
    void AddEGLConfigAttribs(unsigned int config, const int* attribs);
    void AddEGLSurfaceAttribs(unsigned int surface, const int* attribs);
    /// Null when none were recorded.
    const AttribMap* GetEGLConfigAttribs(unsigned int config) const;
    const AttribMap* GetEGLSurfaceAttribs(unsigned int surface) const;

    // Buffer mappings of the current context, one for each binding point. Lengths and offsets are in bytes.

    /// Remembers a live mapping that can be written. A mapping that cannot drops the binding's earlier record.
    void MapBuffer(unsigned long capturedPointer, unsigned int target, unsigned int length, unsigned int access,
                   unsigned char* data);
    /// The pointer that the captured map call returned, 0 when nothing is mapped there.
    unsigned long GetMappedBufferId(unsigned int target);
    /// The live memory mapped there, null when nothing is.
    const unsigned char* GetMappedData(unsigned int target) const;
    /// Copies the captured bytes into the mapping. The range is not compared with the length of the mapping.
    void FlushMappedBufferRange(unsigned int target, unsigned int offset, unsigned int length,
                                unsigned char* capturedData);
    /// Copies the captured bytes, as far as the mapping reaches, and forgets the mapping.
    void UnmapBuffer(unsigned int target, unsigned int length, unsigned char* capturedData);

    // EGLImages: the client buffers behind them, and the textures and renderbuffers that use them.

    /// Makes the image's client buffer, with one use. A buffer made for an image that has one is neither kept nor
    /// freed. Where this driver has no such buffers, a texture stands in for it if that is possible.
    void AddEGLImageBuffer(unsigned int display, unsigned int image, const Data::EGLImageData& data);
    void SetEGLImageData(unsigned int image, const Data::EGLImageData& data);
    /// The native buffer to create the live image from, or its stand-in; null when the image has neither.
    void* GetEGLImageBuffer(unsigned int image);
    void AddEGLImageBufferRef(unsigned int image);
    /// Drops one use; the last one frees the buffer.
    void RemoveEGLImageBuffer(unsigned int image);

    /// Image of each captured texture or renderbuffer; null for a target that takes no image.
    std::unordered_map<int, unsigned int>* GetTextureEGLImageMap(unsigned int target);
    /// 0 when the object has no image.
    unsigned int GetTextureEGLImage(unsigned int target, int texture);
    /// For an object without an image; an image that it has stays.
    void AddTextureEGLImage(unsigned int target, int texture, unsigned int image);
    /// For an object that has an image; does nothing for others.
    void SetTextureEGLImage(unsigned int target, int texture, unsigned int image);
    /// Forgets a destroyed image: at most one renderbuffer and one texture lose it.
    void RemoveTextureEGLImage(unsigned int image);
    /// The live texture of a captured context itself, not of its share group; 0 when there is none, without a message.
    unsigned int GetEGLImageTexture(unsigned int context, unsigned int texture) const;

private:
    struct ContextInfo {
        std::uint32_t display;
        std::uint32_t drawSurface;
        std::uint32_t readSurface;
        std::uint32_t context;
    };

    bool HasName(NameKind kind, unsigned int id) const
    {
        const ContextResources* resources = IsPerContext(kind) ? m_contextEntry : m_shareGroupEntry;
        return resources && resources->Names(kind).contains(id);
    }

    /// One hash lookup for a mapped name. Everything else, valid or not, is rare and sorted out in GetUnmappedName.
    unsigned int GetName(NameKind kind, unsigned int id) const
    {
        if (const ContextResources* resources = IsPerContext(kind) ? m_contextEntry : m_shareGroupEntry) {
            const NameMap& names = resources->Names(kind);
            if (const auto entry = names.find(id); entry != names.end()) [[likely]] {
                return entry->second;
            }
        }
        return GetUnmappedName(kind, id);
    }

    int GetLocation(LocationKind kind, unsigned int program, int location) const
    {
        if (m_shareGroupEntry) {
            if (const auto* locations = m_shareGroupEntry->Locations(kind).Find(program)) {
                const auto entry = locations->find(location);
                if (entry != locations->end() && entry->second != -1) [[likely]] {
                    return entry->second;
                }
            }
        }
        return GetUnmappedLocation(kind, program, location);
    }

    void AddName(NameKind kind, unsigned int id, unsigned int name);
    void RemoveName(NameKind kind, unsigned int id);
    unsigned int GetUnmappedName(NameKind kind, unsigned int id) const;
    void AddLocation(LocationKind kind, unsigned int program, int location, int liveLocation);
    int GetUnmappedLocation(LocationKind kind, unsigned int program, int location) const;

    /// Maps of the current context and of its share group, created when they are not there yet.
    ContextResources& ContextEntry();
    ContextResources& ShareGroupEntry();
    void SelectContext(unsigned int context, unsigned int sharedIndex);
    /// To be called whenever the current context changes, and after changes to the maps of what is remembered of it.
    void FindCurrentEntries();
    /// The display selected last; null, with a message, when it was never added.
    DisplayResources* CurrentDisplay();
    void AddTextureImage(void* liveDisplay, unsigned int image, const Data::EGLImageData& data);
    /// A live context of the live display, null when it has none.
    void* AnyContext(void* liveDisplay) const;
    static void DeleteObjects(const ContextResources& resources);
    static void DestroyHandles(DisplayResources& resources);

    std::uint32_t m_currentThread = 0;
    std::uint32_t m_currentApi = 0;
    std::uint32_t m_currentContext = 0;
    /// Key of the current context's share group.
    std::uint32_t m_currentSharedIndex = 0;
    /// Thread to API.
    std::unordered_map<unsigned int, unsigned int> m_threadApis;
    /// Thread to what it made current.
    std::unordered_map<unsigned int, ContextInfo> m_contextInfos;
    std::unordered_map<unsigned int, ContextResources> m_contextResources;
    /// Context to program.
    std::unordered_map<unsigned int, unsigned int> m_currentPrograms;
    /// Context to the root of its share group.
    std::unordered_map<unsigned int, unsigned int> m_sharedContextAssociations;

    /// Kept so that a translated call needs one lookup: the elements of m_contextResources under m_currentContext and
    /// m_currentSharedIndex, null while there are none, and the element of m_currentPrograms, 0 while there is none.
    ContextResources* m_contextEntry = nullptr;
    ContextResources* m_shareGroupEntry = nullptr;
    unsigned int m_currentProgram = 0;

    std::uint32_t m_currentDisplay = 0;
    std::unordered_map<unsigned int, void*> m_eglVoidPtrs;
    std::unordered_map<unsigned int, DisplayResources> m_displayResources;
    std::unordered_map<unsigned int, AttribMap> m_eglConfigAttribs;
    std::unordered_map<unsigned int, AttribMap> m_eglSurfaceAttribs;

    std::unordered_map<unsigned int, std::unique_ptr<EGLImageBuffer>> m_eglImageBuffers;
    /// What stands in for client buffers that this driver cannot make; until the captured image is destroyed.
    std::unordered_map<unsigned int, std::unique_ptr<EGLTextureImage>> m_eglTextureImages;
    bool m_isTextureImageSaid = false;
    std::unordered_map<int, unsigned int> m_textureEGLImages;
    std::unordered_map<int, unsigned int> m_renderbufferEGLImages;
};

} // namespace Playback
