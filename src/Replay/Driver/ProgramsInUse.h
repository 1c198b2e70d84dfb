// The programs that the next draw or dispatch of the live context runs.
#pragma once

#include <span>
#include <vector>

namespace Replay {

struct PipelineStage {
    /// GL_VERTEX_SHADER ..., and GL_VERTEX_SHADER_BIT ...
    unsigned int type;
    unsigned int bit;
};
/// Those that the context knows.
[[nodiscard]] std::span<const PipelineStage> PipelineStages();

/// The pipeline that is drawn with; 0 where a program is in use, and where nothing is.
[[nodiscard]] unsigned int PipelineInUse();
/// 0 for none.
[[nodiscard]] unsigned int ProgramOfStage(unsigned int pipeline, unsigned int type);
/// Live names: the one in use, or those of the pipeline, each once.
[[nodiscard]] std::vector<unsigned int> ProgramsInUse();

} // namespace Replay
