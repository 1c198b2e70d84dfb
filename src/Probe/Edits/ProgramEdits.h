// Draws with other shaders than the capture's.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Data/State/ProgramSources.h"
#include "Data/State/StateModel.h"
#include "Playback/Names/GLResourceTable.h"
#include "Probe/Edits/Undo.h"
#include "Probe/Programs/ProgramVariant.h"
#include "Probe/Vertices/ShadedVertices.h"

namespace Probe {

/// A shader of a program of the capture, and what takes its place.
struct ShaderEdit {
    /// Captured name.
    std::uint32_t program = 0;
    ShaderText shader = {};
};

/// Draws with programs whose shaders were edited. The programs of the capture stay as they are, so that its calls find
/// the locations and values that they know; what stands in for one takes over its values in front of each draw.
class ProgramEdits {
public:
    ProgramEdits(const Playback::GLResourceTable& names, Data::StateModel& model) : m_names(names), m_model(model) {}

    /// To be told of each call that ProgramSources concerns.
    void Follow(const Data::CallArguments& call);
    void Set(std::vector<ShaderEdit> edits);
    /// Nothing where the driver takes an edit. One for a program that is not there yet is compiled only.
    std::optional<ProgramFault> Check(const ShaderEdit& edit);

    /// Uses what stands in for the programs of the draw or dispatch that follows; where `isSimple`, with a fragment
    /// shader that gives one colour. A program that transform feedback writes with stays.
    void Use(bool isSimple, Undo& undo);
    /// Captured names of the programs in use: the one, or those of the pipeline.
    [[nodiscard]] std::vector<std::uint32_t> InUse() const;
    /// Of the draw that was played just now, with its edits.
    [[nodiscard]] VertexStage StageOfVertices() const;
    /// What the program was linked from, with the edits; empty where that is not known.
    [[nodiscard]] std::vector<ShaderText> SourcesOf(std::uint32_t program) const;

private:
    /// The captured name of a live program of the current share group; 0 for none.
    [[nodiscard]] std::uint32_t CapturedName(unsigned int live) const;
    [[nodiscard]] bool Concerns(std::uint32_t program, bool isSimple) const;
    /// Null where the program stays as it is.
    const ProgramVariant* VariantOf(unsigned int live, bool isSimple);
    void UseInPipeline(unsigned int pipeline, bool isSimple, Undo& undo);

    const Playback::GLResourceTable& m_names;
    Data::StateModel& m_model;
    Data::ProgramSources m_sources;
    std::vector<ShaderEdit> m_edits;
    /// By program, and whether its fragment shader is the simple one; nothing where the driver does not take it.
    std::map<std::pair<Data::Owner, bool>, std::optional<ProgramVariant>> m_variants;
};

} // namespace Probe
