// What the live driver says of a program.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Replay {

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

/// What a type of GLSL is, of those that uniforms and outputs of shaders have.
struct VariableType {
    /// The value of samplers and images is a unit.
    enum class Base : std::uint8_t { Float, Int, Unsigned, Unit };
    Base base = Base::Unit;
    /// Of a matrix; 1 for others, whose components are rows.
    std::size_t columns = 1;
    std::size_t rows = 1;
    /// What a sampler looks into, GL_TEXTURE_2D and the like; 0 for other types.
    unsigned int target = 0;

    [[nodiscard]] std::size_t Components() const { return columns * rows; }
    /// A component as it lies in memory, in 4 bytes.
    [[nodiscard]] double Load(const std::uint8_t* at) const;
};
[[nodiscard]] VariableType DescribeType(unsigned int type);

[[nodiscard]] bool IsLinked(unsigned int program);
[[nodiscard]] std::string ProgramLog(unsigned int program);

/// With their locations.
[[nodiscard]] std::vector<std::pair<ActiveVariable, int>> ActiveAttributes(unsigned int program);
[[nodiscard]] std::vector<ActiveVariable> ActiveUniforms(unsigned int program);
/// The values of all elements of a uniform of the default block; nothing for another one.
[[nodiscard]] std::optional<std::vector<double>> ValuesOf(unsigned int program, const ActiveVariable& uniform);
/// Sets values as ValuesOf has them in a uniform of the program, which is in use. Images keep what their shader says.
void SetValues(unsigned int program, const ActiveVariable& uniform, const std::vector<double>& values);
// The resources of a program of one interface, GL_PROGRAM_OUTPUT and the like, from OpenGL ES 3.1 on.
[[nodiscard]] unsigned int ResourceCount(unsigned int program, unsigned int interface);
[[nodiscard]] std::string ResourceName(unsigned int program, unsigned int interface, unsigned int index);
/// A property that is one number.
[[nodiscard]] int ResourceProperty(unsigned int program, unsigned int interface, unsigned int index,
                                   unsigned int property);

/// The program may write to buffers or images, so that running it once more is another thing than running it once.
[[nodiscard]] bool MayWriteMemory(unsigned int program);

} // namespace Replay
