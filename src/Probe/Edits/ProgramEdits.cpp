#include "Probe/Edits/ProgramEdits.h"

#include <algorithm>

#include "Probe/LiveGL.h"
#include "Replay/Driver/ProgramsInUse.h"

namespace Probe {

namespace {

using Data::ObjectKind;

bool IsFeedbackWriting()
{
    return Core::GetVersion(GL()) >= 30 && Core::GetInteger(GL(), GL_TRANSFORM_FEEDBACK_ACTIVE) != 0 &&
           Core::GetInteger(GL(), GL_TRANSFORM_FEEDBACK_PAUSED) == 0;
}

} // namespace

void ProgramEdits::Follow(const Data::CallArguments& call)
{
    const std::uint32_t program = m_sources.Follow(call);
    const Data::Owner owner = program != 0 && m_model.HasContext() ? m_model.Known(ObjectKind::Program, program) : 0;
    std::erase_if(m_variants, [owner](const auto& entry) { return owner != 0 && entry.first.first == owner; });
}

void ProgramEdits::Set(std::vector<ShaderEdit> edits)
{
    m_edits = std::move(edits);
    m_variants.clear();
}

std::optional<ProgramFault> ProgramEdits::Check(const ShaderEdit& edit)
{
    ProgramFault fault;
    std::vector<ShaderText> sources = SourcesOf(edit.program);
    const bool isThere = m_model.Known(ObjectKind::Program, edit.program) != 0;
    if (!isThere) {
        const GLuint shader = ProgramVariant::Compile(edit.shader, fault);
        GL().glDeleteShader(shader);
        return shader != 0 ? std::nullopt : std::optional(fault);
    }
    if (sources.empty())
        return ProgramFault{0, "the program was loaded from a binary, and what it was made of is not known"};
    if (std::ranges::find(sources, edit.shader.type, &ShaderText::type) == sources.end())
        return ProgramFault{0, "the program has no shader of this kind"};
    const GLuint live = m_names.GetValueGLProgram(edit.program);
    const auto variant = ProgramVariant::Make({live, std::move(sources)}, fault);
    return variant ? std::nullopt : std::optional(fault);
}

std::vector<ShaderText> ProgramEdits::SourcesOf(std::uint32_t program) const
{
    std::vector<ShaderText> sources;
    for (const Data::ShaderSource& source : m_sources.Of(program))
        sources.push_back({source.type, source.source ? *source.source : std::string()});
    for (const ShaderEdit& edit : m_edits)
        if (edit.program == program)
            for (ShaderText& source : sources)
                if (source.type == edit.shader.type)
                    source.source = edit.shader.source;
    return sources;
}

std::uint32_t ProgramEdits::CapturedName(unsigned int live) const
{
    if (!m_model.HasContext())
        return 0;
    for (const auto& [key, owner] : m_model.Context().group->objects.owners)
        if (key.first == ObjectKind::Program && m_names.GetValueGLProgram(key.second) == live)
            return key.second;
    return 0;
}

bool ProgramEdits::Concerns(std::uint32_t program, bool isSimple) const
{
    return isSimple || std::ranges::find(m_edits, program, &ShaderEdit::program) != m_edits.end();
}

const ProgramVariant* ProgramEdits::VariantOf(unsigned int live, bool isSimple)
{
    const std::uint32_t program = live != 0 ? CapturedName(live) : 0;
    if (program == 0 || !Concerns(program, isSimple))
        return nullptr;
    const auto [entry, isNew] = m_variants.try_emplace({m_model.Known(ObjectKind::Program, program), isSimple});
    if (isNew) {
        ProgramVariant::Wish wish = {live, SourcesOf(program)};
        bool isOther = !isSimple;
        for (ShaderText& shader : wish.shaders) {
            if (isSimple && shader.type == GL_FRAGMENT_SHADER) {
                shader = OneColour(shader.source);
                isOther = true;
            }
        }
        ProgramFault fault;
        if (isOther && !wish.shaders.empty())
            entry->second = ProgramVariant::Make(wish, fault);
    }
    return entry->second ? &*entry->second : nullptr;
}

void ProgramEdits::Use(bool isSimple, Undo& undo)
{
    if ((m_edits.empty() && !isSimple) || IsFeedbackWriting())
        return;
    if (const GLuint pipeline = Replay::PipelineInUse(); pipeline != 0)
        return UseInPipeline(pipeline, isSimple, undo);
    const auto live = static_cast<GLuint>(Core::GetInteger(GL(), GL_CURRENT_PROGRAM));
    const ProgramVariant* const variant = VariantOf(live, isSimple);
    if (!variant)
        return;
    undo.Add(UseScoped(variant->Program()));
    variant->TakeValues();
}

void ProgramEdits::UseInPipeline(unsigned int pipeline, bool isSimple, Undo& undo)
{
    for (const Replay::PipelineStage& stage : Replay::PipelineStages()) {
        const unsigned int live = Replay::ProgramOfStage(pipeline, stage.type);
        const ProgramVariant* const variant = VariantOf(live, isSimple);
        if (!variant)
            continue;
        {
            const auto used = UseScoped(variant->Program());
            variant->TakeValues();
        }
        GL().glUseProgramStages(pipeline, stage.bit, variant->Program());
        undo.Add([pipeline, bit = stage.bit, live] { GL().glUseProgramStages(pipeline, bit, live); });
    }
}

VertexStage ProgramEdits::StageOfVertices() const
{
    const unsigned int pipeline = Replay::PipelineInUse();
    const unsigned int live = pipeline != 0 ? Replay::ProgramOfStage(pipeline, GL_VERTEX_SHADER)
                                            : static_cast<GLuint>(Core::GetInteger(GL(), GL_CURRENT_PROGRAM));
    const std::uint32_t program = live != 0 ? CapturedName(live) : 0;
    if (program == 0)
        return {.problem = "no program with a vertex shader is in use"};
    const std::vector<ShaderText> sources = SourcesOf(program);
    const auto vertex = std::ranges::find(sources, static_cast<unsigned int>(GL_VERTEX_SHADER), &ShaderText::type);
    if (vertex == sources.end())
        return {.problem = "program " + std::to_string(program) +
                           " was loaded from a binary: the source of its vertex shader is not known"};
    return {live, *vertex};
}

std::vector<std::uint32_t> ProgramEdits::InUse() const
{
    std::vector<std::uint32_t> programs;
    for (const unsigned int live : Replay::ProgramsInUse())
        if (const std::uint32_t program = CapturedName(live); program != 0)
            programs.push_back(program);
    return programs;
}

} // namespace Probe
