#pragma once

#include <cstdint>

#include "Trim/RecordOutput.h"
#include "Trim/Track/StateTracker.h"

namespace Trim {

/// While it lives, calls in the output find a context that is ready for uploads: pixels are packed and come from
/// memory, and blits reach the whole default framebuffer. Writes only what differs from that, and puts it back at its
/// end.
class NeutralUploads {
public:
    NeutralUploads(RecordOutput& output, const Data::StateModel& state, const Data::StateContext& context);
    ~NeutralUploads();
    NeutralUploads(const NeutralUploads&) = delete;
    NeutralUploads& operator=(const NeutralUploads&) = delete;

private:
    [[nodiscard]] std::uint32_t Value(State state, std::uint32_t first) const;
    /// Name of the object that is bound; 0 for none.
    [[nodiscard]] std::uint32_t Bound(State state, std::uint32_t first, std::uint32_t second = 0) const;
    /// Sets a pixel-store parameter, where `neutral` is not what the context has.
    void ForEachPixelStore(bool isNeutral);

    RecordOutput& m_output;
    const Data::StateModel& m_state;
    const Data::StateContext& m_context;
};

} // namespace Trim
