// What one context remembers that decides how a pointer argument is meant and how much memory lies behind it.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "Data/ByteRanges.h"
#include "Data/State/Sizes.h"

namespace Data {

/// A buffer object, as far as the sizes of later calls depend on it.
struct BufferState {
    std::int64_t bytes = 0;
    /// The mapped range; null when the buffer is not mapped.
    const void* mapped = nullptr;
    std::int64_t mappedOffset = 0;
    std::int64_t mappedBytes = 0;
    std::uint32_t mapAccess = 0;

    // Contents of a buffer that is used for indices or for indirect draws, as far as they are known: which vertices a
    // draw reads from client memory depends on them. Whatever a driver may have refused makes them unknown, since
    // memory that is really indexed must not be larger than it is believed to be.
    static constexpr std::int64_t MaxShadowBytes = 64 << 20;
    bool isShadowed = false;
    std::vector<std::uint8_t> shadow;
    ByteRanges known;
    /// A map call came and neither glUnmapBuffer nor new storage since.
    bool mayBeMapped = false;
    /// Storage that glBufferData cannot replace.
    bool isImmutable = false;
    /// The farthest start of the ranges that indexed bindings took of it.
    std::int64_t farthestRange = 0;
    /// The driver may write to it, by what a shader or a call does.
    bool isWrittenByDriver = false;
    /// Tells the buffer from others that had its name before; 0 for one that was used without being generated.
    std::uint32_t serial = 0;
};

/// A buffer that is bound. It stays so when another context deletes it, and its name may then become another buffer's.
struct BufferBinding {
    std::uint32_t name = 0; ///< 0 for none
    std::uint32_t serial = 0;
};

/// The objects that the contexts of a share group have in common.
struct ShareGroupState {
    std::unordered_map<std::uint32_t, BufferState> buffers;
    /// Buffers generated so far.
    std::uint32_t generated = 0;
    /// Serial numbers of buffers that were deleted without ever having had storage: bindings may still hold them.
    std::unordered_set<std::uint32_t> deletedEmpty;
    /// A range for an indexed binding started beyond the storage of its buffer, or came to do so.
    bool mayHaveStrayRanges = false;
};

/// A vertex attribute and, with the same number, a vertex buffer binding.
struct VertexAttribState {
    // The attribute.
    bool integer = false;
    bool normalized = false;
    std::int32_t size = 4;
    std::uint32_t type = 0x1406; // GL_FLOAT
    std::uint32_t binding = 0;   ///< number of the binding it reads from
    std::uint32_t relativeOffset = 0;
    // The binding.
    std::uint32_t buffer = 0; ///< 0: client memory
    std::uint32_t divisor = 0;
    std::int32_t stride = 16;  ///< bytes, never 0 after a call set it
    std::uint64_t pointer = 0; ///< address in client memory, or offset
};

inline constexpr std::uint32_t MaxVertexAttribs = 32;

/// The place of a client array (see Interfaces/Data.h) that glEnableClientState calls `array` and that is none of a
/// texture unit's; MaxVertexAttribs for none.
[[nodiscard]] std::uint32_t PlaceOfArray(std::uint32_t array);

/// Bit i stands for attribute i.
struct VertexArrayState {
    VertexArrayState();
    /// Sets the bit in `client` of each attribute that reads from this binding.
    void UpdateClient(std::uint32_t binding);
    std::array<VertexAttribState, MaxVertexAttribs> attribs;
    std::uint32_t enabled = 0;
    /// Attributes that read from client memory.
    std::uint32_t client = ~0u;
    BufferBinding elementBuffer;
    /// Attribute i reads from binding i, as it is until glVertexAttribBinding says otherwise.
    bool isPlain = true;
};

/// The vertices that a draw reads.
struct DrawRange {
    /// False: it cannot be told, since the indices are not known.
    bool isKnown = false;
    std::uint32_t first = 0;
    std::uint32_t count = 0; ///< 0: the draw reads no vertex
    std::uint32_t instances = 1;
    /// Added to what an attribute with a divisor reads.
    std::uint32_t baseInstance = 0;
};

/// Never the name of an object for the replay, as 0 is none.
inline constexpr std::uint32_t InvalidName = 0xFFFFFFFF;

/// The names that a call got or gave; none when their count or the pointer says so.
inline std::span<const std::uint32_t> ObjectNames(std::int32_t n, const void* names)
{
    if (n <= 0 || !names)
        return {};
    return {static_cast<const std::uint32_t*>(names), static_cast<std::size_t>(n)};
}

/// Whether eglCreateContext gets a context of OpenGL ES 1 with this list, closed by EGL_NONE, which it asks for by not
/// giving a version, too. Null is a list without anything.
[[nodiscard]] bool IsFirstVersion(const void* attribs);

/// One captured context. The methods named like calls come with each such call, in the order of the stream; a return
/// value comes first, and memory holds what it held when the driver had answered.
class ContextState {
public:
    explicit ContextState(std::shared_ptr<ShareGroupState> group);

    [[nodiscard]] const std::shared_ptr<ShareGroupState>& Group() const { return m_group; }
    [[nodiscard]] const PixelStore& Pack() const { return m_pack; }
    [[nodiscard]] const PixelStore& Unpack() const { return m_unpack; }
    /// Name of the buffer bound to a target; 0 when there is none.
    [[nodiscard]] std::uint32_t BoundBuffer(std::uint32_t target) const;
    /// The buffer bound to a target; null when there is none, or it was deleted by another context.
    [[nodiscard]] BufferState* Buffer(std::uint32_t target);

    /// False for a buffer name that no glGenBuffers gave: OpenGL ES 2 lets applications make names up, replay does not.
    [[nodiscard]] bool KnowsBuffer(std::uint32_t name) const { return name == 0 || m_group->buffers.contains(name); }
    /// Bytes of a buffer; 0 when it has none, or is not known.
    [[nodiscard]] std::int64_t StorageOf(std::uint32_t name) const
    {
        const auto buffer = m_group->buffers.find(name);
        return buffer != m_group->buffers.end() ? buffer->second.bytes : 0;
    }
    [[nodiscard]] bool KnowsVertexArray(std::uint32_t name) const { return name == 0 || m_vertexArrays.contains(name); }
    /// Bytes that can be written through the mapping made at `target`; 0 when the buffer mapped last through this
    /// target is not bound there any more, or is not mapped.
    [[nodiscard]] std::int64_t MappedBytes(std::uint32_t target) const;

    [[nodiscard]] bool HasElementBuffer() const { return m_vertexArray->elementBuffer.name != 0; }
    /// False when the element buffer is known to have no storage.
    [[nodiscard]] bool HasIndexStorage() const
    {
        const BufferState* const buffer = Find(m_vertexArray->elementBuffer);
        return buffer ? buffer->bytes > 0 : !m_group->deletedEmpty.contains(m_vertexArray->elementBuffer.serial);
    }
    [[nodiscard]] bool HasPackBuffer() const { return m_bindings[PixelPack].name != 0; }
    [[nodiscard]] bool HasUnpackBuffer() const { return m_bindings[PixelUnpack].name != 0; }
    [[nodiscard]] bool HasDrawIndirectBuffer() const { return m_bindings[DrawIndirect].name != 0; }

    /// Name of the bound vertex array object; 0 for the default one.
    [[nodiscard]] std::uint32_t BoundVertexArray() const { return m_vertexArrayName; }
    /// Enabled attributes that read from client memory, one bit each: a draw needs vertex data for each of them.
    [[nodiscard]] std::uint32_t ClientAttribs() const { return m_vertexArray->enabled & m_vertexArray->client; }
    /// What attribute `index` reads, its binding resolved. `index` is below maxVertexAttribs.
    [[nodiscard]] const VertexAttribState& Attrib(std::uint32_t index) const { return m_vertexArray->attribs[index]; }
    [[nodiscard]] const VertexAttribState& Binding(std::uint32_t index) const
    {
        return m_vertexArray->attribs[m_vertexArray->attribs[index].binding];
    }
    /// The context is one of OpenGL ES 1.1: it has client arrays in the places of attributes.
    void UseFixedFunctions() { m_hasFixedFunctions = true; }
    [[nodiscard]] bool HasFixedFunctions() const { return m_hasFixedFunctions; }
    /// Number of the active client texture unit.
    [[nodiscard]] std::uint32_t ClientUnit() const { return m_clientUnit; }

    /// False when a glVertexAttribPointer of this client pointer is an error, since the bound vertex array object is
    /// not allowed to read from client memory.
    [[nodiscard]] bool AcceptsAttribPointer(std::uint64_t pointer) const
    {
        return pointer == 0 || m_bindings[Array].name != 0 || m_vertexArray == m_defaultVertexArray.get() ||
               m_isOesVertexArray;
    }
    /// Vertices of attribute `index` that a draw of `range` reads: instances for an attribute with a divisor.
    [[nodiscard]] DrawRange AttribRange(std::uint32_t index, const DrawRange& range) const;

    /// The vertices that `count` indices in memory name.
    [[nodiscard]] DrawRange RangeOfIndices(const void* indices, std::int32_t count, std::uint32_t type,
                                           std::int32_t baseVertex, std::int32_t instances) const;

    // The vertices of each draw call. `indices` is client memory when no element buffer is bound, else an offset.
    [[nodiscard]] DrawRange Range_glDrawArrays(std::uint32_t mode, std::int32_t first, std::int32_t count) const;
    [[nodiscard]] DrawRange Range_glDrawArraysInstanced(std::uint32_t mode, std::int32_t first, std::int32_t count,
                                                        std::int32_t instances) const;
    [[nodiscard]] DrawRange Range_glDrawElements(std::uint32_t mode, std::int32_t count, std::uint32_t type,
                                                 const void* indices) const;
    [[nodiscard]] DrawRange Range_glDrawElementsInstanced(std::uint32_t mode, std::int32_t count, std::uint32_t type,
                                                          const void* indices, std::int32_t instances) const;
    [[nodiscard]] DrawRange Range_glDrawRangeElements(std::uint32_t mode, std::uint32_t start, std::uint32_t end,
                                                      std::int32_t count, std::uint32_t type,
                                                      const void* indices) const;
    [[nodiscard]] DrawRange Range_glDrawElementsBaseVertex(std::uint32_t mode, std::int32_t count, std::uint32_t type,
                                                           const void* indices, std::int32_t baseVertex) const;
    [[nodiscard]] DrawRange Range_glDrawRangeElementsBaseVertex(std::uint32_t mode, std::uint32_t start,
                                                                std::uint32_t end, std::int32_t count,
                                                                std::uint32_t type, const void* indices,
                                                                std::int32_t baseVertex) const;
    [[nodiscard]] DrawRange Range_glDrawElementsInstancedBaseVertex(std::uint32_t mode, std::int32_t count,
                                                                    std::uint32_t type, const void* indices,
                                                                    std::int32_t instances,
                                                                    std::int32_t baseVertex) const;
    [[nodiscard]] DrawRange Range_glDrawArraysInstancedBaseInstanceEXT(std::uint32_t mode, std::int32_t first,
                                                                       std::int32_t count, std::int32_t instances,
                                                                       std::uint32_t baseInstance) const;
    [[nodiscard]] DrawRange Range_glDrawElementsInstancedBaseInstanceEXT(std::uint32_t mode, std::int32_t count,
                                                                         std::uint32_t type, const void* indices,
                                                                         std::int32_t instances,
                                                                         std::uint32_t baseInstance) const;
    [[nodiscard]] DrawRange
    Range_glDrawElementsInstancedBaseVertexBaseInstanceEXT(std::uint32_t mode, std::int32_t count, std::uint32_t type,
                                                           const void* indices, std::int32_t instances,
                                                           std::int32_t baseVertex, std::uint32_t baseInstance) const;
    // Arrays of as many elements as there are draws.
    [[nodiscard]] DrawRange Range_glMultiDrawArraysEXT(std::uint32_t mode, const void* firsts, const void* counts,
                                                       std::int32_t draws) const;
    [[nodiscard]] DrawRange Range_glMultiDrawElementsEXT(std::uint32_t mode, const void* counts, std::uint32_t type,
                                                         const void* indices, std::int32_t draws) const
    {
        return Range_glMultiDrawElementsBaseVertexEXT(mode, counts, type, indices, draws, nullptr);
    }
    [[nodiscard]] DrawRange Range_glMultiDrawElementsBaseVertexEXT(std::uint32_t mode, const void* counts,
                                                                   std::uint32_t type, const void* indices,
                                                                   std::int32_t draws, const void* baseVertices) const;
    // Only the driver knows how many vertices these draw.
    [[nodiscard]] static DrawRange Range_glDrawTransformFeedbackEXT(std::uint32_t /*mode*/, std::uint32_t /*id*/)
    {
        return {};
    }
    [[nodiscard]] static DrawRange
    Range_glDrawTransformFeedbackInstancedEXT(std::uint32_t /*mode*/, std::uint32_t /*id*/, std::int32_t /*instances*/)
    {
        return {};
    }
    [[nodiscard]] static DrawRange Range_glMultiDrawArraysIndirectEXT(std::uint32_t /*mode*/, const void* /*indirect*/,
                                                                      std::int32_t /*draws*/, std::int32_t /*stride*/)
    {
        return {};
    }
    [[nodiscard]] static DrawRange Range_glMultiDrawElementsIndirectEXT(std::uint32_t /*mode*/, std::uint32_t /*type*/,
                                                                        const void* /*indirect*/,
                                                                        std::int32_t /*draws*/, std::int32_t /*stride*/)
    {
        return {};
    }
    [[nodiscard]] DrawRange Range_glDrawArraysIndirect(std::uint32_t mode, const void* indirect) const;
    [[nodiscard]] DrawRange Range_glDrawElementsIndirect(std::uint32_t mode, std::uint32_t type,
                                                         const void* indirect) const;

    // One function for each call of GL with the note `track`.
#include "Data/ContextDeclarations.inc"

    /// What is in the buffer is not known any more.
    void ForgetContents(std::uint32_t buffer);
    /// What the application wrote to a mapped range, `offset` from the start of the range.
    void MappedData(std::uint32_t target, std::int64_t offset, const void* data, std::int64_t bytes);

private:
    enum BindingPoint : std::uint8_t {
        Array,
        PixelPack,
        PixelUnpack,
        Uniform,
        Texture,
        TransformFeedback,
        CopyRead,
        CopyWrite,
        DrawIndirect,
        ShaderStorage,
        DispatchIndirect,
        AtomicCounter,
        BindingPointCount
    };
    [[nodiscard]] const BufferBinding* Slot(std::uint32_t target) const;
    [[nodiscard]] BufferBinding BindingOf(std::uint32_t buffer) const;
    /// Null when there is none, or it was deleted by another context.
    [[nodiscard]] const BufferState* Find(const BufferBinding& binding) const;
    void MayBeWritten(std::uint32_t buffer);
    /// After a change of its storage or of its ranges.
    void CheckRanges(const BufferState& buffer);

    // What a call sets, by api/91-state.api.
    void SetCapability(std::uint32_t capability, bool isEnabled);
    void SetPixelStore(std::uint32_t name, std::int32_t value);
    void SetBuffer(std::uint32_t target, std::uint32_t buffer);
    void SetElementBuffer(std::uint32_t buffer)
    {
        m_vertexArray->elementBuffer = BindingOf(buffer);
    }
    void SetIndexedBuffer(std::uint32_t target, std::uint32_t index, std::uint32_t buffer, std::int64_t offset,
                          std::int64_t size);
    void SetFeedbackBuffer(std::uint32_t index, std::uint32_t buffer, std::int64_t offset, std::int64_t size);
    void SetVertexArray(std::uint32_t array);
    void SetAttribEnabled(std::uint32_t index, bool isEnabled);
    void SetAttribFormat(std::uint32_t index, std::int32_t size, std::uint32_t type, bool normalized, bool integer,
                         std::uint32_t relativeOffset);
    void SetAttribBinding(std::uint32_t index, std::uint32_t binding);
    void SetBindingBuffer(std::uint32_t binding, std::uint32_t buffer, std::uint64_t pointer, std::int32_t stride);
    void SetBindingDivisor(std::uint32_t binding, std::uint32_t divisor);
    // Client arrays, by the names that glEnableClientState takes, and those of texture units.
    void SetClientActiveTexture(std::uint32_t texture);
    void SetArrayEnabled(std::uint32_t array, bool isEnabled);
    void SetArray(std::uint32_t array, std::uint32_t buffer, std::uint64_t pointer, std::int32_t stride,
                  std::int32_t size, std::uint32_t type);
    void SetTexcoordArrayEnabled(std::uint32_t unit, bool isEnabled);
    void SetTexcoordArray(std::uint32_t unit, std::uint32_t buffer, std::uint64_t pointer, std::int32_t stride,
                          std::int32_t size, std::uint32_t type);
    void EnableAttrib(std::uint32_t index, bool isEnabled);
    void ChangeBinding(std::uint32_t binding, std::uint32_t buffer, std::uint64_t pointer, std::int32_t stride);
    /// Of the client array with this place; nothing for what a driver refuses.
    void ChangeArray(std::uint32_t place, std::uint32_t buffer, std::uint64_t pointer, std::int32_t stride,
                     std::int32_t size, std::uint32_t type);

    // Whether a driver takes the call. What it refuses leaves an attribute in client memory, if it was there.
    [[nodiscard]] bool Accepts_glVertexAttribPointer(std::uint32_t index, std::int32_t size, std::uint32_t type,
                                                     std::uint32_t normalized, std::int32_t stride,
                                                     const void* pointer) const;
    [[nodiscard]] bool Accepts_glVertexAttribIPointer(std::uint32_t index, std::int32_t size, std::uint32_t type,
                                                      std::int32_t stride, const void* pointer) const
    {
        return Accepts_glVertexAttribPointer(index, size, type, 0, stride, pointer);
    }
    [[nodiscard]] static bool Accepts_glBindBufferBase(std::uint32_t target, std::uint32_t index, std::uint32_t buffer);
    [[nodiscard]] static bool Accepts_glBindBufferRange(std::uint32_t target, std::uint32_t index, std::uint32_t buffer,
                                                        std::int64_t /*offset*/, std::int64_t /*size*/)
    {
        return Accepts_glBindBufferBase(target, index, buffer);
    }
    [[nodiscard]] DrawRange ElementsRange(std::int32_t count, std::uint32_t type, const void* indices,
                                          std::int32_t baseVertex, std::int32_t instances) const;

    PixelStore m_pack;
    PixelStore m_unpack;
    std::array<BufferBinding, BindingPointCount> m_bindings = {};
    /// Buffer that was mapped last through each target.
    std::unordered_map<std::uint32_t, std::uint32_t> m_mappings;
    std::shared_ptr<ShareGroupState> m_group;
    struct NamedVertexArray {
        /// Made when it is first bound.
        std::unique_ptr<VertexArrayState> state;
        /// Of GL_OES_vertex_array_object, which lets it read from client memory.
        bool isOes = false;
    };
    std::unordered_map<std::uint32_t, NamedVertexArray> m_vertexArrays;
    std::unique_ptr<VertexArrayState> m_defaultVertexArray;
    /// The bound one; owned by one of the two above.
    VertexArrayState* m_vertexArray;
    std::uint32_t m_vertexArrayName = 0;
    bool m_isOesVertexArray = false;
    bool m_isPrimitiveRestart = false;
    bool m_hasFixedFunctions = false;
    std::uint32_t m_clientUnit = 0;
};

} // namespace Data
