#include "Inspect/Capture/UnusedState.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "Inspect/Place.h"

namespace Inspect {

namespace {

using Data::ActionKind;
using Values = Tools::StateSnapshot::Values;

enum Users : std::uint8_t { Draw = 1, Clear = 2, Blit = 4, Dispatch = 8, Nobody = 0 };

/// Who looks at a state, by chapters 4 to 19 of OpenGL ES 3.2 (Khronos). The first rule that fits
/// decides; state without one counts as used.
struct Rule {
    /// The name without indexes; "*" at its end stands for any rest.
    std::string_view state;
    /// Calls that look at it.
    int users;
    /// What has to be on for that when drawing; empty where nothing has.
    std::string_view capability = {};
    /// Buffers of glClear, one of which has to be cleared.
    std::string_view cleared = {};
};
constexpr Rule Rules[] = {
    {"GL_BLEND", Draw},
    {"GL_BLEND_*", Draw, "GL_BLEND"},
    {"GL_DEPTH_TEST", Draw},
    {"GL_DEPTH_FUNC", Draw, "GL_DEPTH_TEST"},
    {"GL_DEPTH_WRITEMASK", Draw | Clear, "GL_DEPTH_TEST", "GL_DEPTH_BUFFER_BIT"},
    {"GL_DEPTH_RANGE", Draw},
    {"GL_STENCIL_TEST", Draw},
    {"GL_STENCIL_WRITEMASK", Draw | Clear, "GL_STENCIL_TEST", "GL_STENCIL_BUFFER_BIT"},
    {"GL_STENCIL_CLEAR_VALUE", Clear, "", "GL_STENCIL_BUFFER_BIT"},
    {"GL_STENCIL_*", Draw, "GL_STENCIL_TEST"},
    {"GL_DEPTH_CLEAR_VALUE", Clear, "", "GL_DEPTH_BUFFER_BIT"},
    {"GL_COLOR_CLEAR_VALUE", Clear, "", "GL_COLOR_BUFFER_BIT"},
    {"GL_COLOR_WRITEMASK", Draw | Clear, "", "GL_COLOR_BUFFER_BIT"},
    {"GL_CULL_FACE", Draw},
    {"GL_CULL_FACE_MODE", Draw, "GL_CULL_FACE"},
    {"GL_FRONT_FACE", Draw},
    {"GL_POLYGON_OFFSET_FILL", Draw},
    {"GL_POLYGON_OFFSET_*", Draw, "GL_POLYGON_OFFSET_FILL"},
    {"GL_SCISSOR_TEST", Draw | Clear | Blit},
    {"GL_SCISSOR_BOX", Draw | Clear | Blit, "GL_SCISSOR_TEST"},
    {"GL_SAMPLE_COVERAGE", Draw},
    {"GL_SAMPLE_COVERAGE_*", Draw, "GL_SAMPLE_COVERAGE"},
    {"GL_SAMPLE_MASK", Draw},
    {"GL_SAMPLE_MASK_VALUE", Draw, "GL_SAMPLE_MASK"},
    {"GL_MIN_SAMPLE_SHADING_VALUE", Draw, "GL_SAMPLE_SHADING"},
    {"GL_SAMPLE_*", Draw},
    {"GL_LINE_WIDTH", Draw},
    {"GL_PATCH_*", Draw},
    {"GL_PRIMITIVE_*", Draw},
    {"GL_RASTERIZER_DISCARD", Draw | Clear},
    {"GL_VIEWPORT", Draw},
    {"GL_CURRENT_PROGRAM", Draw | Dispatch},
    {"GL_PROGRAM_PIPELINE_BINDING", Draw | Dispatch},
    {"GL_VERTEX_ARRAY_BINDING", Draw},
    {"GL_CURRENT_VERTEX_ATTRIB", Draw},
    {"GL_TRANSFORM_FEEDBACK_BINDING", Draw},
    {"GL_SAMPLER_BINDING", Draw | Dispatch},
    {"GL_IMAGE_BINDING_*", Draw | Dispatch},
    {"texture", Draw | Dispatch},
    {"indexed_buffer", Draw | Dispatch},
    {"buffer", Nobody}, // but for the indirect ones
    {"GL_READ_BUFFER", Blit},
    {"GL_RENDERBUFFER_BINDING", Nobody},
    {"GL_ACTIVE_TEXTURE", Nobody},
    {"GL_UNPACK_*", Nobody},
    {"GL_PACK_*", Nobody},
    {"GL_GENERATE_MIPMAP_HINT", Nobody},
};

bool Fits(const Rule& rule, std::string_view state)
{
    return rule.state.ends_with('*') ? state.starts_with(rule.state.substr(0, rule.state.size() - 1))
                                     : state == rule.state;
}

/// The number in the first brackets of "GL_VERTEX_ATTRIB_ARRAY_ENABLED[3]", or after GL_TEXTURE in them.
std::optional<std::uint32_t> IndexOf(std::string_view state)
{
    constexpr std::string_view Unit = "GL_TEXTURE";
    const std::size_t open = state.find('[');
    const std::size_t close = state.find(']');
    if (open == std::string_view::npos || close == std::string_view::npos)
        return std::nullopt;
    std::string_view index = state.substr(open + 1, close - open - 1);
    if (index.starts_with(Unit))
        index.remove_prefix(Unit.size());
    return ParseNumber(index);
}

/// "GL_TEXTURE_2D" of "texture[GL_TEXTURE0][GL_TEXTURE_2D]".
std::string TargetOf(std::string_view state)
{
    const std::size_t open = state.rfind('[');
    return std::string(state.substr(open + 1, state.size() - open - 2));
}

class UnusedFinder {
public:
    UnusedFinder(const Tools::StateSnapshot& snapshot, const StateUser& user) : m_snapshot(snapshot), m_user(user)
    {
        if (const auto context = snapshot.objects.find({}); context != snapshot.objects.end())
            m_context = &context->second;
    }

    std::vector<UnusedState> Find()
    {
        m_kind = m_user.kind == ActionKind::Draw       ? Draw
                 : m_user.kind == ActionKind::Clear    ? Clear
                 : m_user.kind == ActionKind::Blit     ? Blit
                 : m_user.kind == ActionKind::Dispatch ? Dispatch
                                                       : Nobody;
        if (m_kind == Nobody || !m_context)
            return {};
        for (const auto& [state, value] : *m_context)
            if (std::string why = WhyUnused(state); !why.empty())
                m_unused.push_back({{}, state, std::move(why)});
        if (m_kind == Draw)
            FindUnusedArrays();
        return std::move(m_unused);
    }

private:
    static std::string_view NameOf(std::string_view state) { return state.substr(0, state.find('[')); }

    static bool IsTrue(const Values& values, const std::string& name)
    {
        const auto value = values.find(name);
        return value != values.end() && value->second.is_boolean() && value->second.get<bool>();
    }

    /// On for any draw buffer or viewport, or for the same one as `state` is of.
    [[nodiscard]] bool IsOn(std::string_view capability, std::string_view state) const
    {
        const std::string name(capability);
        if (IsTrue(*m_context, name))
            return true;
        const std::size_t index = state.find('[');
        if (index != std::string_view::npos && m_context->contains(name + std::string(state.substr(index))))
            return IsTrue(*m_context, name + std::string(state.substr(index)));
        return std::ranges::any_of(*m_context, [&](const auto& entry) {
            return entry.first.starts_with(name + "[") && IsTrue(*m_context, entry.first);
        });
    }

    [[nodiscard]] bool Has(std::string_view part) const { return m_user.text.find(part) != std::string::npos; }

    /// Empty where it is used.
    [[nodiscard]] std::string WhyUnused(std::string_view state) const
    {
        const std::string_view name = NameOf(state);
        const auto* const rule = std::ranges::find_if(Rules, [&](const Rule& one) { return Fits(one, name); });
        if (std::string why = WhyBySpecialRule(state, name); !why.empty())
            return why;
        if (rule == std::end(Rules))
            return {};
        constexpr std::pair<Users, const char*> Names[] = {
            {Draw, "drawing"}, {Clear, "clearing"}, {Blit, "blits"}, {Dispatch, "dispatches"}};
        const bool isIndirect = name == "buffer" && state.find("INDIRECT") != std::string_view::npos;
        if (!isIndirect && (rule->users & m_kind) == 0) {
            std::string others;
            for (const auto& [users, text] : Names)
                if ((rule->users & users) != 0)
                    others += (others.empty() ? "" : " and ") + std::string(text);
            return others.empty() ? "it is for calls that set and move contents" : "it is for " + others;
        }
        if (m_kind == Clear && !rule->cleared.empty() && m_user.text.starts_with("glClear(") && !Has(rule->cleared))
            return std::string(rule->cleared) + " is not cleared";
        const bool needsIt = m_kind == Draw || rule->capability == "GL_SCISSOR_TEST";
        if (needsIt && !rule->capability.empty() && !IsOn(rule->capability, state))
            return std::string(rule->capability) + " is off";
        return {};
    }

    [[nodiscard]] std::string WhyBySpecialRule(std::string_view state, std::string_view name) const
    {
        if (name == "GL_FRAMEBUFFER_BINDING" && m_kind != Blit && state.find("[GL_READ_") != std::string_view::npos)
            return "it is for reading";
        if (name == "GL_LINE_WIDTH" && m_kind == Draw && !Has("mode=GL_LINE"))
            return "no lines are drawn";
        if (name.starts_with("GL_PATCH_") && m_kind == Draw && !Has("mode=GL_PATCHES"))
            return "no patches are drawn";
        if (!m_user.isProgramKnown || (m_kind != Draw && m_kind != Dispatch))
            return {};
        const std::optional<std::uint32_t> index = IndexOf(state);
        if (!index)
            return {};
        const auto isAtUnit = [&](const auto& sampler) { return sampler.first == *index; };
        const bool isUnit = name == "texture" || name == "GL_SAMPLER_BINDING";
        if (isUnit && std::ranges::none_of(m_user.samplers, isAtUnit))
            return "the program samples no texture unit " + std::to_string(*index);
        if (name == "texture" && !m_user.samplers.contains({*index, TargetOf(state)}))
            return "the program samples something else of texture unit " + std::to_string(*index);
        if (name == "GL_CURRENT_VERTEX_ATTRIB" && !m_user.attributes.contains(*index))
            return "the program reads no attribute " + std::to_string(*index);
        return {};
    }

    void FindUnusedArrays()
    {
        const auto bound = m_context->find("GL_VERTEX_ARRAY_BINDING");
        const std::string name = bound != m_context->end() ? bound->second.dump() : "0";
        const Tools::StateSnapshot::Object object = {"vertexArrays", name};
        const auto array = m_snapshot.objects.find(object);
        if (array == m_snapshot.objects.end())
            return;
        for (const auto& [state, value] : array->second) {
            const std::optional<std::uint32_t> index = IndexOf(state);
            // Bindings have numbers of their own.
            if (!index || !state.starts_with("GL_VERTEX_ATTRIB_"))
                continue;
            const std::string enabled = "GL_VERTEX_ATTRIB_ARRAY_ENABLED[" + std::to_string(*index) + "]";
            if (m_user.isProgramKnown && !m_user.attributes.contains(*index))
                m_unused.push_back({object, state, "the program reads no attribute " + std::to_string(*index)});
            else if (array->second.contains(enabled) && !IsTrue(array->second, enabled) && state != enabled)
                m_unused.push_back({object, state, "the array is off"});
        }
    }

    const Tools::StateSnapshot& m_snapshot;
    const StateUser& m_user;
    const Values* m_context = nullptr;
    Users m_kind = Nobody;
    std::vector<UnusedState> m_unused;
};

} // namespace

std::vector<UnusedState> FindUnused(const Tools::StateSnapshot& snapshot, const StateUser& user)
{
    return UnusedFinder(snapshot, user).Find();
}

} // namespace Inspect
