#include "Trim/NeutralUploads.h"

#include <GLES3/gl32.h>

namespace Trim {

namespace {

using Data::CallId;

struct PixelStoreParameter {
    std::uint32_t name;
    /// What a context starts with, and what packed pixels need.
    std::uint32_t initial;
    std::uint32_t neutral;
};

constexpr PixelStoreParameter pixelStore[] = {
    {GL_UNPACK_ALIGNMENT, 4, 1},
    {GL_UNPACK_ROW_LENGTH, 0, 0},
    {GL_UNPACK_SKIP_ROWS, 0, 0},
    {GL_UNPACK_SKIP_PIXELS, 0, 0},
};

} // namespace

NeutralUploads::NeutralUploads(RecordOutput& output, StateTracker& tracker, const TrackedContext& context)
    : m_output(output), m_tracker(tracker), m_context(context)
{
    if (Value(Piece::DrawFramebuffer) != 0)
        m_output.Write(MakeCall(CallId::glBindFramebuffer, {GL_DRAW_FRAMEBUFFER, 0}));
    if (Value(Piece::BufferBinding, GL_PIXEL_UNPACK_BUFFER) != 0)
        m_output.Write(MakeCall(CallId::glBindBuffer, {GL_PIXEL_UNPACK_BUFFER, 0}));
    if (Value(Piece::Setting, static_cast<std::uint32_t>(CallId::glEnable), GL_SCISSOR_TEST) != 0)
        m_output.Write(MakeCall(CallId::glDisable, {GL_SCISSOR_TEST}));
    ForEachPixelStore(true);
}

NeutralUploads::~NeutralUploads()
{
    ForEachPixelStore(false);
    if (Value(Piece::Setting, static_cast<std::uint32_t>(CallId::glEnable), GL_SCISSOR_TEST) != 0)
        m_output.Write(MakeCall(CallId::glEnable, {GL_SCISSOR_TEST}));
    if (const std::uint32_t buffer = NameAt(Piece::BufferBinding, GL_PIXEL_UNPACK_BUFFER))
        m_output.Write(MakeCall(CallId::glBindBuffer, {GL_PIXEL_UNPACK_BUFFER, buffer}));
    if (const std::uint32_t framebuffer = NameAt(Piece::DrawFramebuffer))
        m_output.Write(MakeCall(CallId::glBindFramebuffer, {GL_DRAW_FRAMEBUFFER, framebuffer}));
}

void NeutralUploads::ForEachPixelStore(bool isNeutral)
{
    for (const PixelStoreParameter& parameter : pixelStore) {
        const std::uint32_t set =
            Value(Piece::Setting, static_cast<std::uint32_t>(CallId::glPixelStorei), parameter.name);
        const std::uint32_t value = set != 0 ? set : parameter.initial;
        if (value != parameter.neutral)
            m_output.Write(MakeCall(CallId::glPixelStorei, {parameter.name, isNeutral ? parameter.neutral : value}));
    }
}

std::uint32_t NeutralUploads::Value(Piece piece, std::uint32_t first, std::uint32_t second) const
{
    StateSlots& slots = m_tracker.Slots();
    return slots.Value(slots.At(m_context.owner, piece, first, second));
}

std::uint32_t NeutralUploads::NameAt(Piece piece, std::uint32_t first) const
{
    return m_tracker.Object(Value(piece, first)).name;
}

} // namespace Trim
