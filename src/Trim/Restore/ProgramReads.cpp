#include "Trim/Restore/ProgramReads.h"

#include "Replay/Driver/Programs.h"
#include "Trim/Restore/LiveGL.h"

namespace Trim {

std::optional<ProgramReads> FindProgramReads()
{
    // Columns of a matrix, and elements of an array, have locations of their own.
    constexpr int MostColumns = 4;
    const auto program = static_cast<GLuint>(GL().glUseProgram ? GetInteger(GL_CURRENT_PROGRAM) : 0);
    if (program == 0)
        return std::nullopt;
    ProgramReads reads;
    for (const Replay::ActiveVariable& uniform : Replay::ActiveUniforms(program)) {
        const Replay::VariableType type = Replay::DescribeType(uniform.type);
        const auto values = Replay::ValuesOf(program, uniform);
        if (type.base == Replay::VariableType::Base::Unit && values)
            for (const double unit : *values)
                reads.units.insert({static_cast<std::uint32_t>(unit), type.target});
    }
    for (const auto& [attribute, location] : Replay::ActiveAttributes(program))
        for (int i = 0; location >= 0 && i < attribute.count * MostColumns; ++i)
            reads.attributes.insert(static_cast<std::uint32_t>(location + i));
    Core::TakeErrors(GL());
    return reads;
}

} // namespace Trim
