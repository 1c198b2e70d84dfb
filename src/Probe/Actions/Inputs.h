// What a draw or a dispatch reads: uniforms, textures and buffers, as the live driver has them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Data/Records/CallArguments.h"
#include "Data/State/StateModel.h"
#include "Playback/Names/GLResourceTable.h"

namespace Probe {

/// Something that a call reads, in the names of the capture.
struct Input {
    enum class Kind : std::uint8_t { Uniform, Texture, Buffer };
    Kind kind = Kind::Uniform;
    /// Program of a uniform, texture or buffer.
    std::uint32_t object = 0;
    /// Name of the uniform; what uses a texture or a buffer, such as "sampler shadowMap" or "attribute position".
    std::string name;
    /// Of a uniform.
    std::vector<double> values = {};
    /// Of the contents, all images of a texture together.
    std::uint64_t hash = 0;
};

/// Whether what textures and buffers hold is read, which takes long.
enum class WantsContents : bool { No, Yes };

/// The inputs of an action of the current context: what the program in use reads, or where a blit or a copy comes from.
/// All GL state is put back; pending errors are lost. Buffers and textures need OpenGL ES 3.1.
std::vector<Input> ReadInputs(const Data::CallArguments& action, Data::StateModel& model,
                              const Playback::GLResourceTable& names, WantsContents wantsContents);

/// The same for one of them; for a uniform `name` counts too. False when the object is not there.
bool ReadInput(Input& input, const Playback::GLResourceTable& names);

} // namespace Probe
