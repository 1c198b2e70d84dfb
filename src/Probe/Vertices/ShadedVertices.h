// What the vertex shader makes of the vertices of a draw.
#pragma once

#include <cstdint>
#include <string>

#include "Data/Records/CallArguments.h"
#include "Probe/Programs/ProgramVariant.h"
#include "Probe/Vertices/Vertices.h"

namespace Probe {

/// The vertex shader that a draw runs.
struct VertexStage {
    /// Live name of its program; 0 without one.
    unsigned int program = 0;
    ShaderText shader = {};
    /// Why it is not known; empty otherwise.
    std::string problem = {};
};

/// Part of the vertices of a draw.
struct VertexRange {
    std::uint32_t first = 0;
    std::uint32_t count = 0;
    /// From 0.
    std::uint32_t instance = 0;
};

/// Fills the rows of `table`, those of ReadVertices for the range, with what the stage gives, and its arrays with the
/// outputs: gl_Position first, then as the driver has them. Runs a copy of the vertex shader alone, so that it does not
/// matter which stages follow it, by transform feedback (OpenGL ES 3.0). `draw` was played just now. All GL state is
/// put back; pending errors are lost.
VertexTable ReadShadedVertices(const Data::CallArguments& draw, const VertexStage& stage, const VertexRange& range,
                               VertexTable table);

} // namespace Probe
