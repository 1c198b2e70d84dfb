// What a draw reads of its vertex arrays, as a table.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Data/Records/CallArguments.h"
#include "Playback/Names/GLResourceTable.h"

namespace Probe {

/// An enabled vertex array of the live context.
struct VertexArray {
    unsigned int location = 0;
    /// In the program in use; empty where that does not read it.
    std::string name = {};
    int size = 0;
    unsigned int type = 0;
    bool isNormalized = false;
    bool isInteger = false;
    /// Bytes from one vertex to the next, and from the start of the buffer.
    int stride = 0;
    std::uint64_t offset = 0;
    /// Captured name; 0 for memory of the program.
    std::uint32_t buffer = 0;
    /// Instances that share a value; 0: each vertex has its own.
    int divisor = 0;
};

struct VertexTable {
    std::vector<VertexArray> arrays = {};
    /// Of one instance.
    std::uint32_t count = 0;
    struct Row {
        /// What the draw takes the vertex by; -1 where there is none.
        std::int64_t index = 0;
        /// Of each array; empty where the vertex lies outside of its buffer.
        std::vector<std::vector<double>> values = {};
    };
    std::vector<Row> rows = {};
    /// Why there are no rows; empty otherwise.
    std::string problem = {};
};

/// Up to `most` vertices from vertex `first` on, of the first instance. `draw` has just been replayed, and reached the
/// driver where `isPlayed`: then the driver has read the same memory.
VertexTable ReadVertices(const Data::CallArguments& draw, bool isPlayed, const Playback::GLResourceTable& names,
                         const std::vector<std::uint32_t>& buffers, std::uint32_t first, std::uint32_t most);

} // namespace Probe
