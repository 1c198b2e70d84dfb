#include "Trim/Restore/NeutralUploads.h"

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

constexpr PixelStoreParameter PixelStore[] = {
    {GL_UNPACK_ALIGNMENT, 4, 1},
    {GL_UNPACK_ROW_LENGTH, 0, 0},
    {GL_UNPACK_SKIP_ROWS, 0, 0},
    {GL_UNPACK_SKIP_PIXELS, 0, 0},
};

} // namespace

NeutralUploads::NeutralUploads(RecordOutput& output, const Data::StateModel& state, const Data::StateContext& context)
    : m_output(output), m_state(state), m_context(context)
{
    if (Bound(State::Framebuffer, 0, 1) != 0)
        m_output.Write(MakeCall(CallId::glBindFramebuffer, {GL_DRAW_FRAMEBUFFER, 0}));
    if (Bound(State::Buffer, GL_PIXEL_UNPACK_BUFFER) != 0)
        m_output.Write(MakeCall(CallId::glBindBuffer, {GL_PIXEL_UNPACK_BUFFER, 0}));
    if (Value(State::Capability, GL_SCISSOR_TEST) != 0)
        m_output.Write(MakeCall(CallId::glDisable, {GL_SCISSOR_TEST}));
    ForEachPixelStore(true);
}

NeutralUploads::~NeutralUploads()
{
    ForEachPixelStore(false);
    if (Value(State::Capability, GL_SCISSOR_TEST) != 0)
        m_output.Write(MakeCall(CallId::glEnable, {GL_SCISSOR_TEST}));
    if (const std::uint32_t buffer = Bound(State::Buffer, GL_PIXEL_UNPACK_BUFFER))
        m_output.Write(MakeCall(CallId::glBindBuffer, {GL_PIXEL_UNPACK_BUFFER, buffer}));
    if (const std::uint32_t framebuffer = Bound(State::Framebuffer, 0, 1))
        m_output.Write(MakeCall(CallId::glBindFramebuffer, {GL_DRAW_FRAMEBUFFER, framebuffer}));
}

void NeutralUploads::ForEachPixelStore(bool isNeutral)
{
    for (const PixelStoreParameter& parameter : PixelStore) {
        const std::uint32_t set = Value(State::PixelStore, parameter.name);
        const std::uint32_t value = set != 0 ? set : parameter.initial;
        if (value != parameter.neutral)
            m_output.Write(MakeCall(CallId::glPixelStorei, {parameter.name, isNeutral ? parameter.neutral : value}));
    }
}

std::uint32_t NeutralUploads::Value(State state, std::uint32_t first) const
{
    return static_cast<std::uint32_t>(m_state.Word(m_context.owner, state, first));
}

std::uint32_t NeutralUploads::Bound(State state, std::uint32_t first, std::uint32_t second) const
{
    return m_state.Object(m_state.BoundIn(m_context, state, first, second)).name;
}

} // namespace Trim
