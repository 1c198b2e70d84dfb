#include "Probe/Edits/Edits.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "Probe/Edits/DrawChanges.h"
#include "Probe/LiveGL.h"
#include "Replay/Driver/ProgramsInUse.h"

namespace Probe {

namespace {

bool IsByShaders(Data::ActionKind kind)
{
    return kind == Data::ActionKind::Draw || kind == Data::ActionKind::Dispatch;
}

} // namespace

std::vector<Edits::Fault> Edits::Set(std::vector<Edit> edits)
{
    std::vector<ShaderEdit> shaders;
    for (const Edit& edit : edits)
        if (edit.kind == Edit::Kind::Shader)
            shaders.push_back(edit.shader);
    m_programs.Set(std::move(shaders));
    m_edits = std::move(edits);
    std::vector<Fault> faults;
    if (!m_model.HasContext())
        return faults;
    for (std::size_t i = 0; i < m_edits.size(); ++i)
        if (m_edits[i].kind == Edit::Kind::Shader)
            if (std::optional<ProgramFault> fault = m_programs.Check(m_edits[i].shader))
                faults.push_back({i, std::move(*fault)});
    Core::TakeErrors(GL());
    return faults;
}

bool Edits::Has(Edit::Kind wanted, Data::ActionKind kind, std::uint32_t call) const
{
    return std::ranges::any_of(
        m_edits,
        [&](const Edit& edit) {
            return edit.kind == wanted && (edit.call != 0 ? edit.call == call : IsByShaders(kind));
        });
}

bool Edits::Concern(Data::ActionKind kind, std::uint32_t call) const
{
    return !m_edits.empty() && kind != Data::ActionKind::None && m_model.HasContext() &&
           std::ranges::any_of(
               m_edits, [&](const Edit& edit) { return Has(edit.kind, kind, call); });
}

bool Edits::Play(Data::ActionKind kind, std::uint32_t call, const std::function<bool()>& replay)
{
    if (Skip(kind, call))
        return false;
    Core::TakeErrors(GL());
    Undo undo;
    if (IsByShaders(kind)) {
        m_programs.Use(kind == Data::ActionKind::Draw && Has(Edit::Kind::Simple, kind, call), undo);
        if (Has(Edit::Kind::Textures, kind, call))
            for (const unsigned int program : Replay::ProgramsInUse())
                m_textures.Bind(m_model.Context().group.get(), program, undo);
    }
    if (kind == Data::ActionKind::Draw && Has(Edit::Kind::Scissor, kind, call))
        DrawOnlyCorner(undo, 1);
    if (kind == Data::ActionKind::Draw && Has(Edit::Kind::NoBlending, kind, call))
        DrawWithoutBlending(undo);
    Core::TakeErrors(GL());
    return replay();
}

} // namespace Probe
