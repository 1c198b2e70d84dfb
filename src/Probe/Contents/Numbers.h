// Numbers in memory, by the types that GL has for them.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Probe {

struct NumberType {
    /// 0 for types of packed numbers.
    std::size_t bytes = 0;
    /// What stands for 1 where numbers of this type are normalised.
    double one = 1;
    double (*load)(const std::uint8_t* at) = nullptr;
};
/// GL_UNSIGNED_SHORT for instance.
[[nodiscard]] NumberType DescribeNumber(unsigned int type);

} // namespace Probe
