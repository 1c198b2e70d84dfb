// What is replayed otherwise than it was recorded, to see what comes of it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "Data/Records/Actions.h"
#include "Probe/Edits/ProgramEdits.h"
#include "Probe/Edits/TinyTextures.h"

namespace Probe {

struct Edit {
    enum class Kind : std::uint8_t {
        Shader,   ///< another source in the place of a shader's
        Skip,     ///< nothing is drawn
        Scissor,  ///< one pixel is drawn
        Textures, ///< textures of 2x2 texels
        Simple,   ///< a fragment shader that gives one colour
        NoBlending,
    };
    Kind kind = Kind::Shader;
    /// Of the frame at work; 0 for all its draws and dispatches. Not of Shader.
    std::uint32_t call = 0;
    /// Of Shader.
    ShaderEdit shader = {};
};

/// The edits of a replay. Replay thread only.
class Edits {
public:
    Edits(const Playback::GLResourceTable& names, Data::StateModel& model) : m_model(model), m_programs(names, model) {}

    struct Fault {
        /// Of those that were given.
        std::size_t edit = 0;
        ProgramFault what = {};
    };
    /// From now on these, in the place of those before, whether or not there are faults. Without a current context
    /// shaders are not looked at.
    std::vector<Fault> Set(std::vector<Edit> edits);
    [[nodiscard]] bool Concern(Data::ActionKind kind, std::uint32_t call) const;
    [[nodiscard]] bool Skip(Data::ActionKind kind, std::uint32_t call) const
    {
        return Has(Edit::Kind::Skip, kind, call);
    }
    /// Calls `replay`, which answers whether it was played, as the edits will have it. All GL state is put back;
    /// pending errors are lost.
    bool Play(Data::ActionKind kind, std::uint32_t call, const std::function<bool()>& replay);

    [[nodiscard]] ProgramEdits& Programs() { return m_programs; }

private:
    [[nodiscard]] bool Has(Edit::Kind wanted, Data::ActionKind kind, std::uint32_t call) const;

    Data::StateModel& m_model;
    std::vector<Edit> m_edits;
    ProgramEdits m_programs;
    TinyTextures m_textures;
};

} // namespace Probe
