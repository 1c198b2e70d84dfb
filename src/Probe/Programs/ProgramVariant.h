// Programs of the probe's own: with other shaders than one of the capture's, for which they stand in, or with none of
// it.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Replay/Driver/Programs.h"

namespace Probe {

struct ShaderText {
    /// GL_VERTEX_SHADER ...
    unsigned int type = 0;
    std::string source = {};
};

/// A fragment shader that gives one colour, in the version of GLSL that another shader of its program is written in.
[[nodiscard]] ShaderText OneColour(const std::string& other);

/// Why a program could not be made.
struct ProgramFault {
    /// The shader that does not compile; 0 where it is the linking.
    unsigned int type = 0;
    /// As the driver says it.
    std::string log = {};
};

/// A linked program of the probe's own, in the share group of the original. Lives as long as that: nobody deletes it.
class ProgramVariant {
public:
    struct Wish {
        /// Live name; 0: of none. Its attributes keep their locations.
        unsigned int original = 0;
        std::vector<ShaderText> shaders = {};
        /// Caught by transform feedback, one vertex after the other.
        std::vector<std::string> varyings = {};
        /// May lack stages; otherwise as the original.
        bool isSeparable = false;
    };
    /// A shader of the caller's; 0, with a fault, when it does not compile.
    static unsigned int Compile(const ShaderText& text, ProgramFault& fault);
    /// Nothing, with a fault, where the driver does not take it.
    static std::optional<ProgramVariant> Make(const Wish& wish, ProgramFault& fault);

    [[nodiscard]] unsigned int Program() const { return m_program; }
    /// Gives it, by their names, the values of uniforms and the bindings of blocks that the original has now. The
    /// variant is in use.
    void TakeValues() const;

private:
    unsigned int m_program = 0;
    unsigned int m_original = 0;
    /// Uniforms that both have, in the same type.
    std::vector<Replay::ActiveVariable> m_uniforms;
    /// Uniform blocks that both have: index in the original, and here.
    std::vector<std::pair<unsigned int, unsigned int>> m_blocks;
};

} // namespace Probe
