// What the live driver says of a program.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Probe {

/// A uniform or an attribute that the linked program reads.
struct ActiveVariable {
    /// Of an array with "[0]" at its end.
    std::string name;
    /// Elements of an array; 1 for others.
    int count = 0;
    /// GL_FLOAT_VEC4 ...
    unsigned int type = 0;
};

/// 0 where the driver does not know the name.
[[nodiscard]] int ProgramParameter(unsigned int program, unsigned int name);
/// What a sampler of this type looks into: GL_TEXTURE_2D ...; 0 for other types.
[[nodiscard]] unsigned int SamplerTarget(unsigned int type);

[[nodiscard]] bool IsLinked(unsigned int program);
[[nodiscard]] std::string ProgramLog(unsigned int program);

/// With their locations.
[[nodiscard]] std::vector<std::pair<ActiveVariable, int>> ActiveAttributes(unsigned int program);
[[nodiscard]] std::vector<ActiveVariable> ActiveUniforms(unsigned int program);
/// The values of all elements of a uniform of the default block; nothing for another one.
[[nodiscard]] std::optional<std::vector<double>> ValuesOf(unsigned int program, const ActiveVariable& uniform);
/// Sets values as ValuesOf has them in a uniform of the program, which is in use. Images keep what their shader says.
void SetValues(unsigned int program, const ActiveVariable& uniform, const std::vector<double>& values);
/// Of images that shaders read and write.
[[nodiscard]] bool IsImage(unsigned int type);
/// Components of a value of this type, and whether they are floats, integers or unsigned ones.
struct ValueForm {
    enum class Base : std::uint8_t { Float, Int, Unsigned };
    Base base = Base::Float;
    std::size_t components = 1;
};
[[nodiscard]] ValueForm FormOf(unsigned int type);

} // namespace Probe
