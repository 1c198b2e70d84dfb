// Calls that set state of the context which nothing but later draws and clears depend on, and calls without effect.
#include <array>
#include <optional>
#include <string_view>

#include <GLES3/gl32.h>

#include "Data/CallTable.h"
#include "Trim/StateTracker.h"

namespace Trim {

namespace {

using Data::CallId;

/// A call that replaces one setting: which one is told by `name`, one call of those that set it, and, where `isKeyed`,
/// by the first argument.
struct PlainSetting {
    CallId call;
    CallId name;
    bool isKeyed;
};

constexpr PlainSetting plainSettings[] = {
    {CallId::glBlendColor, CallId::glBlendColor, false},
    {CallId::glBlendEquation, CallId::glBlendEquation, false},
    {CallId::glBlendEquationSeparate, CallId::glBlendEquation, false},
    {CallId::glBlendFunc, CallId::glBlendFunc, false},
    {CallId::glBlendFuncSeparate, CallId::glBlendFunc, false},
    {CallId::glClearColor, CallId::glClearColor, false},
    {CallId::glClearDepthf, CallId::glClearDepthf, false},
    {CallId::glClearStencil, CallId::glClearStencil, false},
    {CallId::glCullFace, CallId::glCullFace, false},
    {CallId::glDepthFunc, CallId::glDepthFunc, false},
    {CallId::glDepthRangef, CallId::glDepthRangef, false},
    {CallId::glFrontFace, CallId::glFrontFace, false},
    {CallId::glHint, CallId::glHint, true},
    {CallId::glLineWidth, CallId::glLineWidth, false},
    {CallId::glMinSampleShading, CallId::glMinSampleShading, false},
    {CallId::glPatchParameteri, CallId::glPatchParameteri, true},
    {CallId::glPatchParameteriEXT, CallId::glPatchParameteri, true},
    {CallId::glPixelStorei, CallId::glPixelStorei, true},
    {CallId::glPolygonOffset, CallId::glPolygonOffset, false},
    {CallId::glPrimitiveBoundingBox, CallId::glPrimitiveBoundingBox, false},
    {CallId::glPrimitiveBoundingBoxEXT, CallId::glPrimitiveBoundingBox, false},
    {CallId::glSampleCoverage, CallId::glSampleCoverage, false},
    {CallId::glSampleMaski, CallId::glSampleMaski, true},
    {CallId::glScissor, CallId::glScissor, false},
    {CallId::glViewport, CallId::glViewport, false},
};

const PlainSetting* FindPlainSetting(CallId call)
{
    static const std::array<const PlainSetting*, Data::callCount> byCall = [] {
        std::array<const PlainSetting*, Data::callCount> table{};
        for (const PlainSetting& setting : plainSettings)
            table[static_cast<std::size_t>(setting.call)] = &setting;
        return table;
    }();
    return byCall[static_cast<std::size_t>(call)];
}

/// The call that asks something and changes nothing, by its name.
bool IsQuery(CallId call)
{
    const std::string_view name = NameOf(call);
    return name.starts_with("glGet") || name.starts_with("glIs");
}

constexpr std::uint32_t Number(CallId call)
{
    return static_cast<std::uint32_t>(call);
}

} // namespace

bool StateTracker::TrackSetting(const CallArguments& call)
{
    if (const PlainSetting* const setting = FindPlainSetting(call.Call())) {
        const Slot slot = SettingSlot(setting->name, setting->isKeyed ? call.Unsigned(0) : 0);
        Replaces(slot);
        m_slots.Value(slot) = call.Unsigned(call.Count() - 1);
        return true;
    }
    // Values are kept so that 0 is what a context starts with.
    const auto set = [this](CallId name, std::uint32_t key, std::uint32_t value) {
        Replaces(SettingSlot(name, key));
        m_slots.Value(SettingSlot(name, key)) = value;
    };
    // A stencil setting of one face or of both.
    const auto setFaces = [&](CallId name, std::uint32_t face, std::uint32_t value) {
        if (face != GL_BACK)
            set(name, GL_FRONT, value);
        if (face != GL_FRONT)
            set(name, GL_BACK, value);
    };
    switch (call.Call()) {
    case CallId::glEnable:
    case CallId::glDisable:
        set(CallId::glEnable, call.Unsigned(0), call.Call() == CallId::glEnable);
        return true;
    case CallId::glColorMask:
        set(CallId::glColorMask, 0, !(call.Unsigned(0) && call.Unsigned(1) && call.Unsigned(2) && call.Unsigned(3)));
        return true;
    case CallId::glColorMaski:
        m_context->hasIndexedMasks = true;
        return false;
    case CallId::glDepthMask:
        set(CallId::glDepthMask, 0, call.Unsigned(0) == 0);
        return true;
    case CallId::glStencilMask:
        setFaces(CallId::glStencilMask, GL_FRONT_AND_BACK, ~call.Unsigned(0) & 0xFF);
        return true;
    case CallId::glStencilMaskSeparate:
        setFaces(CallId::glStencilMask, call.Unsigned(0), ~call.Unsigned(1) & 0xFF);
        return true;
    case CallId::glStencilFunc:
        setFaces(CallId::glStencilFunc, GL_FRONT_AND_BACK, 0);
        return true;
    case CallId::glStencilFuncSeparate:
        setFaces(CallId::glStencilFunc, call.Unsigned(0), 0);
        return true;
    case CallId::glStencilOp:
        setFaces(CallId::glStencilOp, GL_FRONT_AND_BACK, 0);
        return true;
    case CallId::glStencilOpSeparate:
        setFaces(CallId::glStencilOp, call.Unsigned(0), 0);
        return true;
    case CallId::glVertexAttrib1f:
    case CallId::glVertexAttrib1fv:
    case CallId::glVertexAttrib2f:
    case CallId::glVertexAttrib2fv:
    case CallId::glVertexAttrib3f:
    case CallId::glVertexAttrib3fv:
    case CallId::glVertexAttrib4f:
    case CallId::glVertexAttrib4fv:
    case CallId::glVertexAttribI4i:
    case CallId::glVertexAttribI4iv:
    case CallId::glVertexAttribI4ui:
    case CallId::glVertexAttribI4uiv:
        set(CallId::glVertexAttrib4f, call.Unsigned(0), 0);
        ReadsAttribLocations();
        return true;
    default:
        return false;
    }
}

Slot StateTracker::SettingSlot(CallId name, std::uint32_t key)
{
    return ContextSlot(Piece::Setting, Number(name), key);
}

bool StateTracker::IsEnabled(std::uint32_t capability)
{
    return m_slots.Value(SettingSlot(CallId::glEnable, capability)) != 0;
}

bool StateTracker::TrackWithoutEffect(const CallArguments& call)
{
    switch (call.Call()) {
    case CallId::glBlendBarrier:
    case CallId::glCheckFramebufferStatus:
    case CallId::glClientWaitSync:
    case CallId::glDebugMessageInsert:
    case CallId::glDebugMessageInsertKHR:
    case CallId::glDiscardFramebufferEXT:
    case CallId::glFinish:
    case CallId::glFlush:
    case CallId::glInsertEventMarkerEXT:
    case CallId::glInvalidateFramebuffer:
    case CallId::glInvalidateSubFramebuffer:
    case CallId::glMemoryBarrier:
    case CallId::glMemoryBarrierByRegion:
    case CallId::glReleaseShaderCompiler:
    case CallId::glTextureBarrier:
    case CallId::glValidateProgram:
    case CallId::glValidateProgramPipeline:
    case CallId::glWaitSync:
        return true;
    case CallId::glPushDebugGroup:
    case CallId::glPushDebugGroupKHR:
    case CallId::glPushGroupMarkerEXT:
        m_context->debugGroups.push_back(m_log.Count() - 1);
        m_log.SetVerdict(Verdict::Keep);
        return true;
    case CallId::glPopDebugGroup:
    case CallId::glPopDebugGroupKHR:
    case CallId::glPopGroupMarkerEXT:
        // A group that was closed again is of no use to anybody.
        if (!m_context->debugGroups.empty()) {
            m_log.SetVerdict(m_context->debugGroups.back(), Verdict::Drop);
            m_context->debugGroups.pop_back();
        }
        return true;
    case CallId::glDebugMessageControl:
    case CallId::glDebugMessageControlKHR:
    case CallId::glDebugMessageCallback:
    case CallId::glDebugMessageCallbackKHR:
        m_log.SetVerdict(Verdict::Keep);
        return true;
    default:
        return IsQuery(call.Call());
    }
}

} // namespace Trim
