// The vertices that a draw takes, in their order.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "Data/Records/CallArguments.h"

namespace Probe {

struct DrawIndices {
    /// Vertices of one instance in all.
    std::uint32_t count = 0;
    /// What the draw takes each vertex by, with its base vertex; -1 for the index that restarts a primitive, and for
    /// one outside of its buffer.
    std::vector<std::int64_t> indices = {};
    /// Why there are none; empty otherwise.
    std::string problem = {};
};

/// The number of the parameter with the indices of a draw that has a "type" of them.
[[nodiscard]] std::size_t IndicesOf(const Data::CallArguments& draw);

/// Up to `most` from vertex `first` on. `draw` has just been replayed, or is the next call. Multiple and indirect draws
/// have none.
DrawIndices ReadDrawIndices(const Data::CallArguments& draw, std::uint32_t first, std::uint32_t most);

/// The triangles of a draw in `mode`, each as three places in `indices`, turning as the draw has them. None for other
/// primitives.
[[nodiscard]] std::vector<std::array<std::uint32_t, 3>> TrianglesOf(unsigned int mode,
                                                                    const std::vector<std::int64_t>& indices);

/// The lines around the primitives of a draw in `mode`, as pairs of vertices; points and lines themselves as they are.
/// No indices for patches and primitives with neighbours, which are another thing without their shaders.
struct Outline {
    /// GL_LINES or GL_POINTS.
    unsigned int mode = 0;
    std::vector<std::uint32_t> indices = {};
};
[[nodiscard]] Outline OutlineOf(unsigned int mode, const std::vector<std::int64_t>& indices);

} // namespace Probe
