// What the engine calls of the capture-data library, and the interfaces through which a capture drives the engine.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Data {

/// The client arrays of OpenGL ES 1.1 by their places, which are numbers of attributes in other contexts. From TexCoord
/// on there is one for each texture unit.
namespace ClientArray {
inline constexpr std::uint32_t Vertex = 0;
inline constexpr std::uint32_t Normal = 1;
inline constexpr std::uint32_t Color = 2;
inline constexpr std::uint32_t PointSize = 3;
inline constexpr std::uint32_t MatrixIndex = 4;
inline constexpr std::uint32_t Weight = 5;
inline constexpr std::uint32_t TexCoord = 6;
} // namespace ClientArray

/// The memory behind one pointer argument of a captured call. Owned by the reader and valid during the call only.
///
/// Three cases: captured contents (HasData), which lie in the reader's chunk and may be overwritten; no contents but
/// a value, where the application passed an offset into a bound buffer; neither, a null pointer. Output that was
/// captured without contents has memory too, zeroed, although HasData is false.
class PointerData {
public:
    /// Most memory that one argument gets.
    static constexpr std::uint64_t MaxOwnedBytes = 256u << 20;

    /// What to hand to the live function: the contents, else the captured value, else null.
    [[nodiscard]] void* GetPointer() const { return m_payload; }
    template <class T> [[nodiscard]] T* As() const { return static_cast<T*>(m_payload); }
    /// Elements in the payload; for strings and untyped memory, bytes.
    [[nodiscard]] std::int32_t GetCount() const { return m_count; }
    [[nodiscard]] bool HasData() const { return m_hasData; }
    /// The pointer that the application passed, or received for a returned pointer.
    [[nodiscard]] std::uint64_t GetCapturedPointer() const { return m_capturedPointer; }

    /// Makes room for `count` elements; what was there is kept as far as it fits, new elements are zero. Does nothing
    /// when the payload is no memory, or when that would need more than maxOwnedBytes.
    void ResizeArray(std::uint32_t count);
    /// Makes room for `length` characters, the terminator included. As ResizeArray.
    void ResizeString(std::uint32_t length);

    /// Contents of `count` elements of `elementBytes` bytes at `payload`.
    void SetContents(void* payload, std::uint32_t count, std::uint32_t elementBytes, std::uint64_t capturedPointer)
    {
        m_payload = payload;
        m_count = static_cast<std::int32_t>(count);
        m_elementBytes = elementBytes;
        m_isMemory = true;
        m_hasData = true;
        m_capturedPointer = capturedPointer;
    }
    /// No contents: the live function gets `value` itself.
    void SetValue(std::uint64_t value, std::uint32_t elementBytes = 1)
    {
        m_payload = reinterpret_cast<void*>(static_cast<std::uintptr_t>(value));
        m_count = 0;
        m_elementBytes = elementBytes;
        m_isMemory = false;
        m_hasData = false;
        m_capturedPointer = value;
    }
    /// No contents, but memory of this object's own, zeroed, for output.
    void SetOwned(std::uint32_t count, std::uint32_t elementBytes, std::uint64_t capturedPointer);

private:
    void* m_payload = nullptr;
    std::int32_t m_count = 0;
    std::uint32_t m_elementBytes = 1;
    bool m_isMemory = false;
    bool m_hasData = false;
    std::uint64_t m_capturedPointer = 0;
    std::vector<std::uint64_t> m_storage;
};

/// Root of the call interfaces that the reader drives.
class Adapter {
public:
    virtual ~Adapter() = default;
    /// The captured thread whose calls follow. Called whenever it changes.
    virtual void SetCurrentThread(unsigned int threadId) = 0;
};

/// One plane of a captured EGLImage. Sizes and offsets in bytes; `data` is valid during the call only.
struct EGLImagePlane {
    std::uint32_t stride;
    std::uint64_t size;
    std::uint64_t offset;
    const std::uint8_t* data;
};

/// A captured EGLImage: size in pixels, vendor format code, bytes per pixel.
struct EGLImageData {
    std::uint32_t width;
    std::uint32_t height;
    std::uint32_t format;
    std::uint32_t bpp;
    std::uint32_t planeCount;
    const EGLImagePlane* planes;
};

struct UniformData;
struct UniformBlockData;
struct AttributeData;
struct AtomicCounterBufferData;
struct BufferVariableData;
struct ShaderStorageBlockData;

/// Receives the meta commands of a capture. `format` and `type` are GL transfer enums, sizes are bytes, memory is
/// valid during the call only.
class MetaHandler {
public:
    virtual ~MetaHandler() = default;
    virtual void SetCurrentThread(std::uint32_t threadId) = 0;
    virtual void ProcessTextAscii(const std::uint8_t* text, std::uint64_t length) = 0;
    virtual void ProcessTextXML(const std::uint8_t* text, std::uint64_t length) = 0;
    virtual void ProcessTextJSON(const std::uint8_t* text, std::uint64_t length) = 0;
    virtual void ProcessDisplayMessageCommand(const std::string& message) = 0;
    virtual void ProcessSetWindowSizeCommand(std::uint32_t display, std::uint32_t surface, std::uint32_t width,
                                             std::uint32_t height) = 0;
    virtual void ProcessCreateEGLImageBufferCommand(std::uint32_t display, std::uint32_t image,
                                                    const EGLImageData* data) = 0;
    virtual void ProcessSetEGLImageContentCommand(std::uint32_t image, const EGLImageData* data) = 0;
    virtual void ProcessEGLConfigStateDesc(std::uint32_t display, std::uint32_t config, const std::int32_t* attribs,
                                           std::uint64_t count) = 0;
    virtual void ProcessEGLSurfaceStateDesc(std::uint32_t display, std::uint32_t surface, const std::int32_t* attribs,
                                            std::uint64_t count) = 0;
    virtual void ProcessGLUniformsStateDesc(std::uint32_t program, std::uint32_t count, const UniformData* data) = 0;
    virtual void ProcessGLUniformBlocksStateDesc(std::uint32_t program, std::uint32_t count,
                                                 const UniformBlockData* data) = 0;
    virtual void ProcessGLAttributesStateDesc(std::uint32_t program, std::uint32_t count,
                                              const AttributeData* data) = 0;
    virtual void ProcessGLAtomicCounterBufferStateDesc(std::uint32_t program, std::uint32_t count,
                                                       const AtomicCounterBufferData* data) = 0;
    virtual void ProcessGLBufferVariablesStateDesc(std::uint32_t program, std::uint32_t count,
                                                   const BufferVariableData* data) = 0;
    virtual void ProcessGLStorageBlocksStateDesc(std::uint32_t program, std::uint32_t count,
                                                 const ShaderStorageBlockData* data) = 0;
    virtual void ProcessProfilerData(std::uint32_t kind, const std::uint8_t* data, std::uint64_t length) = 0;
    virtual void ProcessGLLimits(std::uint32_t count, std::uint32_t* limits) = 0;
    virtual void ProcessDefaultColorBuffer(std::uint32_t display, std::uint32_t surface, std::uint32_t width,
                                           std::uint32_t height, std::uint32_t format, std::uint32_t type,
                                           std::uint32_t size, const std::uint8_t* data) = 0;
    virtual void ProcessDefaultDepthBuffer(std::uint32_t display, std::uint32_t surface, std::uint32_t width,
                                           std::uint32_t height, std::uint32_t format, std::uint32_t type,
                                           std::uint32_t size, const std::uint8_t* data) = 0;
    virtual void ProcessDefaultStencilBuffer(std::uint32_t display, std::uint32_t surface, std::uint32_t width,
                                             std::uint32_t height, std::uint32_t format, std::uint32_t type,
                                             std::uint32_t size, const std::uint8_t* data) = 0;
    virtual void ProcessMultiSampleTexture(std::uint32_t target, std::uint32_t texture, std::uint32_t width,
                                           std::uint32_t height, std::uint32_t depth, std::uint32_t internalFormat,
                                           std::uint32_t format, std::uint32_t type, std::uint32_t layerSize,
                                           std::uint32_t size, const std::uint8_t* data) = 0;
};

/// Ignores every meta command; base of handlers that care about a few.
class NullMetaHandler : public MetaHandler {
public:
    void SetCurrentThread(std::uint32_t) override {}
    void ProcessTextAscii(const std::uint8_t*, std::uint64_t) override {}
    void ProcessTextXML(const std::uint8_t*, std::uint64_t) override {}
    void ProcessTextJSON(const std::uint8_t*, std::uint64_t) override {}
    void ProcessDisplayMessageCommand(const std::string&) override {}
    void ProcessSetWindowSizeCommand(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t) override {}
    void ProcessCreateEGLImageBufferCommand(std::uint32_t, std::uint32_t, const EGLImageData*) override {}
    void ProcessSetEGLImageContentCommand(std::uint32_t, const EGLImageData*) override {}
    void ProcessEGLConfigStateDesc(std::uint32_t, std::uint32_t, const std::int32_t*, std::uint64_t) override {}
    void ProcessEGLSurfaceStateDesc(std::uint32_t, std::uint32_t, const std::int32_t*, std::uint64_t) override {}
    void ProcessGLUniformsStateDesc(std::uint32_t, std::uint32_t, const UniformData*) override {}
    void ProcessGLUniformBlocksStateDesc(std::uint32_t, std::uint32_t, const UniformBlockData*) override {}
    void ProcessGLAttributesStateDesc(std::uint32_t, std::uint32_t, const AttributeData*) override {}
    void ProcessGLAtomicCounterBufferStateDesc(std::uint32_t, std::uint32_t, const AtomicCounterBufferData*) override {}
    void ProcessGLBufferVariablesStateDesc(std::uint32_t, std::uint32_t, const BufferVariableData*) override {}
    void ProcessGLStorageBlocksStateDesc(std::uint32_t, std::uint32_t, const ShaderStorageBlockData*) override {}
    void ProcessProfilerData(std::uint32_t, const std::uint8_t*, std::uint64_t) override {}
    void ProcessGLLimits(std::uint32_t, std::uint32_t*) override {}
    void ProcessDefaultColorBuffer(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
                                   std::uint32_t, std::uint32_t, const std::uint8_t*) override
    {
    }
    void ProcessDefaultDepthBuffer(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
                                   std::uint32_t, std::uint32_t, const std::uint8_t*) override
    {
    }
    void ProcessDefaultStencilBuffer(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
                                     std::uint32_t, std::uint32_t, const std::uint8_t*) override
    {
    }
    void ProcessMultiSampleTexture(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
                                   std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
                                   const std::uint8_t*) override
    {
    }
};

/// The blocks of a capture: a frame, or the calls that build the state which the first frame needs.
enum class BlockType : std::uint32_t { Frame = 1, State = 2 };

/// Is told where blocks start and end, between calls.
class BlockEventHandler {
public:
    virtual ~BlockEventHandler() = default;
    virtual void BlockStart(BlockType type) = 0;
    virtual void BlockEnd(BlockType type) = 0;
};

/// Receives the frame hashes of a capture that has them.
class FrameHashHandler {
public:
    virtual ~FrameHashHandler() = default;
    /// Comes directly before the eglSwapBuffers of the frame, with the surface's size in pixels. `frame` counts from 1.
    /// `hash` is XXH3-64 over the back buffer as RGBA bytes, bottom row first, rows packed.
    virtual void ProcessFrameHash(std::uint32_t frame, std::uint32_t surface, std::uint32_t width, std::uint32_t height,
                                  std::uint64_t hash) = 0;
};

/// A frame that no swap ended, as it was recorded.
struct FramePicture {
    /// From 1.
    std::uint32_t frame;
    /// Captured name of the framebuffer that was drawn to last; 0: the default one.
    std::uint32_t framebuffer;
    /// There was something to read.
    bool isThere;
    /// Of colour attachment 0 or the back buffer, where the recorder was to hash frames. Components of attachments that
    /// do not fit into bytes are hashed as floats or as integers of 32 bits.
    std::optional<std::uint64_t> hash;
    /// In pixels; 0 without a hash.
    std::uint32_t width;
    std::uint32_t height;
};

/// Is told of the ends of frames that no swap leads to.
class FramePictureHandler {
public:
    virtual ~FramePictureHandler() = default;
    /// Comes directly before the frame's end, while the context that drew is current.
    virtual void ProcessFramePicture(const FramePicture& picture) = 0;
};

/// Replays a capture frame by frame.
class DCAPFileProcessor {
public:
    virtual ~DCAPFileProcessor() = default;
    /// Replays up to the next frame end. True when a whole frame was replayed and more may follow; false at the end,
    /// after the calls that follow the last frame, if any, were replayed.
    virtual bool ProcessNextFrame() = 0;
};

/// A capture being read.
class CaptureFileReader {
public:
    virtual ~CaptureFileReader() = default;
    virtual DCAPFileProcessor* GetFrameProcessor() = 0;
    /// Frames replayed so far.
    [[nodiscard]] virtual std::uint32_t GetCurrentFrame() const = 0;
    /// Whole frames in the capture.
    [[nodiscard]] virtual std::uint32_t GetFrameCount() const = 0;
};

} // namespace Data
