// Which buffers the pointers of calls are offsets into, for who lists calls.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <unordered_map>
#include <vector>

#include "Data/Capture/SummaryFormat.h"
#include "Data/GLEnums.h"
#include "Data/Records/CallArguments.h"

namespace Data {

/// Follows which context each thread uses and the buffers that are bound in it, as the calls say: what a driver may
/// have refused is believed, and nothing depends on the records that made a name. So it can be taken up anywhere in a
/// capture where its changes up to there are known.
class BufferBindings {
public:
    BufferBindings() = default;
    BufferBindings(const BufferBindings&) = delete;
    BufferBindings& operator=(const BufferBindings&) = delete;

    /// Does nothing for calls that bind nothing. The thread is the one of the Thread record in front.
    void Follow(const CallArguments& call);
    [[nodiscard]] static bool Concerns(CallId call);
    void SetThread(std::uint32_t thread);

    [[nodiscard]] std::uint32_t Thread() const { return m_thread; }
    /// The one that the thread uses; 0 for none.
    [[nodiscard]] std::uint32_t Context() const { return m_current->name; }
    /// Name of the buffer that is bound to a target that pointers are offsets for; 0 for none and for other targets.
    [[nodiscard]] std::uint32_t Bound(std::uint32_t target) const;

    /// What changed since the last call of this, with the values of now, in no order.
    [[nodiscard]] std::vector<BindingChange> TakeChanges();
    void Apply(std::span<const BindingChange> changes);

private:
    /// All but GL_ELEMENT_ARRAY_BUFFER, which belongs to vertex array objects.
    static constexpr std::array<std::uint32_t, 5> Targets = {Enum::ArrayBuffer, Enum::PixelPackBuffer,
                                                             Enum::PixelUnpackBuffer, Enum::DrawIndirectBuffer,
                                                             Enum::DispatchIndirectBuffer};
    struct ElementBuffer {
        std::uint32_t buffer = 0;
        bool isChanged = false;
    };
    struct Bindings {
        std::uint32_t name = 0;
        std::uint32_t vertexArray = 0;
        std::array<std::uint32_t, Targets.size()> buffers = {};
        /// By vertex array object.
        std::unordered_map<std::uint32_t, ElementBuffer> elementBuffers;
        // What TakeChanges has not told yet. Bit i stands for targets[i].
        std::uint32_t changedTargets = 0;
        bool isVertexArrayChanged = false;
        std::vector<std::uint32_t> changedElementBuffers;
    };

    Bindings& Named(std::uint32_t context);
    void MakeCurrent(std::uint32_t context);
    void BindBuffer(std::uint32_t target, std::uint32_t buffer);
    void BindVertexArray(std::uint32_t array);
    static void SetElementBuffer(Bindings& context, std::uint32_t array, std::uint32_t buffer);
    static void Reset(Bindings& context);

    /// By name; 0 stands for the calls of threads without a context.
    std::unordered_map<std::uint32_t, Bindings> m_contexts = {{0, {}}};
    std::unordered_map<std::uint32_t, std::uint32_t> m_contextOfThread;
    std::vector<std::uint32_t> m_changedThreads;
    std::uint32_t m_thread = 0;
    Bindings* m_current = &m_contexts[0];
};

} // namespace Data
