// Vertices that a draw reads from the program's memory.
#pragma once

#include "Data/State/ContextState.h"
#include "Recorder/Capture.h"
#include "Recorder/Context.h"

namespace Recorder {

/// Lives around the record of a draw. Appends the vertices that the draw reads from the program's memory, in front of
/// it. Replay hands them to glVertexAttribPointer, which takes pointers into memory only while no array buffer is
/// bound, so a bound one is unbound in the capture until the draw is written.
class ClientVertices {
public:
    /// `range` tells which vertices the draw reads; asked only when it reads any from memory. No context, no vertices.
    template <class Range> ClientVertices(Context* context, Range range)
    {
        if (context != nullptr && context->State().ClientAttribs() != 0) [[unlikely]] {
            const Capturing capturing;
            if (capturing)
                Begin(capturing, *context, range());
        }
    }
    ~ClientVertices()
    {
        if (m_unbound != 0) [[unlikely]]
            BindArrayBuffer(Capturing(), m_unbound);
    }
    ClientVertices(const ClientVertices&) = delete;
    ClientVertices& operator=(const ClientVertices&) = delete;

private:
    void Begin(const Capturing& capturing, Context& context, const Data::DrawRange& range) noexcept;
    void BindArrayBuffer(const Capturing& capturing, std::uint32_t buffer) noexcept;

    Context* m_context = nullptr;
    /// Array buffer to bind again; 0 when none was unbound.
    std::uint32_t m_unbound = 0;
};

} // namespace Recorder
