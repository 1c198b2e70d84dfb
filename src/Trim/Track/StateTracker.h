#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "Data/Capture/Format.h"
#include "Trim/Track/BufferTracker.h"
#include "Trim/Track/ChangeTracker.h"
#include "Trim/Track/DrawingTracker.h"
#include "Trim/Track/EGLTracker.h"
#include "Trim/Track/FixedFunctionTracker.h"
#include "Trim/Track/ObjectTracker.h"
#include "Trim/Track/ProgramTracker.h"
#include "Trim/Track/SpanTracker.h"
#include "Trim/Track/TextureTracker.h"
#include "Trim/Track/TrackedFramebuffers.h"
#include "Trim/Track/TrackedImages.h"
#include "Trim/Track/TrackedState.h"

namespace Trim {

/// What becomes of a record that is no call in front of the first frame that is kept.
[[nodiscard]] Verdict VerdictOf(Data::RecordId id);

/// Follows the calls of a capture and logs what each of them does to which slot. A call that it does not know is kept
/// and may depend on everything, so that forgetting one costs size, not truth. A facade: the state at work is a
/// TrackedState, and each family of calls has a tracker that knows it.
class StateTracker {
public:
    StateTracker() = default;
    StateTracker(const StateTracker&) = delete;
    StateTracker& operator=(const StateTracker&) = delete;

    void SetThread(std::uint32_t thread) { m_tracked.Model().SetThread(thread); }
    /// Logs the record of a call.
    void Call(const CallArguments& call);
    /// Logs the record of a call by which a snapshot brings contents back: it does nothing, and what it wrote to is as
    /// if the GPU had.
    void Upload(const CallArguments& call);
    /// Logs the record of a call that was refused or raised an error: one of GL then did nothing.
    void FailedCall(const CallArguments& call);
    /// From now on draws read no other textures and arrays than these, and of objects what is bound in them now.
    void SetProgramReads(ProgramReads reads) { m_drawing.SetProgramReads(std::move(reads)); }
    /// A record that is no call and not about threads. `verdict` is that of records without an effect of their own.
    void BuiltIn(const Data::RecordView& record, Verdict verdict);
    /// Any other record.
    void Other(Verdict verdict)
    {
        m_tracked.Log().Begin();
        m_tracked.Log().SetVerdict(verdict);
    }

    [[nodiscard]] const EffectLog& Log() const { return m_tracked.Log(); }
    [[nodiscard]] Data::StateModel& Model() { return m_tracked.Model(); }
    [[nodiscard]] const Data::StateModel& Model() const { return m_tracked.Model(); }
    [[nodiscard]] ObjectInfo& Object(Owner owner) { return m_tracked.Object(owner); }
    /// By the owner that a context is.
    [[nodiscard]] const std::map<Owner, ContextInfo>& ContextInfos() const { return m_tracked.Infos(); }
    [[nodiscard]] std::uint32_t Thread() const { return m_tracked.Thread(); }
    /// By captured thread.
    [[nodiscard]] const std::map<std::uint32_t, Current>& Threads() const { return m_egl.Threads(); }
    /// How each surface that is still there was last made current: thread and what.
    [[nodiscard]] const std::map<std::uint32_t, std::pair<std::uint32_t, Current>>& Surfaces() const
    {
        return m_egl.Surfaces();
    }
    [[nodiscard]] Owner SurfaceOwner(std::uint32_t surface) { return m_egl.SurfaceOwner(surface); }
    [[nodiscard]] bool IsDrawnTo(std::uint32_t surface) { return !Object(m_egl.SurfaceOwner(surface)).drawn.empty(); }
    /// The slots of what an image holds: colour, depth, stencil.
    [[nodiscard]] std::array<Slot, 3> PixelSlots(const Image& image) { return m_images.SlotsOf(image); }
    /// What the draws between the begin and the end of each query add to it, which decides about what other draws do
    /// when rendering is conditional.
    [[nodiscard]] std::vector<Slot> SampleSlots() const { return m_tracked.SampleSlots(); }
    /// Those of a surface.
    [[nodiscard]] std::array<Slot, 3> SurfacePixels(std::uint32_t surface)
    {
        return PixelSlots({m_egl.SurfaceOwner(surface), 0, 0});
    }

private:
    TrackedState m_tracked;
    ObjectTracker m_objects{m_tracked};
    EGLTracker m_egl{m_tracked, m_objects};
    TrackedImages m_images{m_tracked};
    TrackedFramebuffers m_framebuffers{m_tracked, m_egl};
    ChangeTracker m_changes{m_tracked, m_objects};
    DrawingTracker m_drawing{m_tracked, m_egl, m_images, m_framebuffers};
    BufferTracker m_buffers{m_tracked};
    TextureTracker m_textures{m_tracked, m_images, m_framebuffers};
    ProgramTracker m_programs{m_tracked, m_objects};
    SpanTracker m_spans{m_tracked};
    FixedFunctionTracker m_fixedFunctions{m_tracked};
};

} // namespace Trim
