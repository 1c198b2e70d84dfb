#include "Probe/Contents/Numbers.h"

#include <cstring>

#include <GLES3/gl32.h>

namespace Probe {

namespace {

template <class T> double Load(const std::uint8_t* at)
{
    T value;
    std::memcpy(&value, at, sizeof value);
    return static_cast<double>(value);
}

double LoadHalfFloat(const std::uint8_t* at)
{
    const auto bits = static_cast<std::uint16_t>(Load<std::uint16_t>(at));
    const std::uint32_t exponent = bits >> 10 & 31;
    const std::uint32_t fraction = bits & 1023;
    std::uint32_t whole = (bits & 0x8000U) << 16;
    if (exponent == 31) {
        whole |= 0x7F800000U | fraction << 13;
    } else if (exponent != 0) {
        whole |= (exponent + 112) << 23 | fraction << 13;
    } else {
        // Multiples of 2 to the power of -24.
        const double value = static_cast<double>(fraction) / 16777216;
        return whole != 0 ? -value : value;
    }
    float value = 0;
    std::memcpy(&value, &whole, sizeof value);
    return static_cast<double>(value);
}

double LoadFixed(const std::uint8_t* at)
{
    return Load<std::int32_t>(at) / 65536;
}

} // namespace

NumberType DescribeNumber(unsigned int type)
{
    switch (type) {
    case GL_BYTE:
        return {1, 127, Load<std::int8_t>};
    case GL_UNSIGNED_BYTE:
        return {1, 255, Load<std::uint8_t>};
    case GL_SHORT:
        return {2, 32767, Load<std::int16_t>};
    case GL_UNSIGNED_SHORT:
        return {2, 65535, Load<std::uint16_t>};
    case GL_INT:
        return {4, 2147483647, Load<std::int32_t>};
    case GL_UNSIGNED_INT:
        return {4, 4294967295.0, Load<std::uint32_t>};
    case GL_FLOAT:
        return {4, 1, Load<float>};
    case GL_HALF_FLOAT:
        return {2, 1, LoadHalfFloat};
    case GL_FIXED:
        return {4, 1, LoadFixed};
    default:
        return {};
    }
}

} // namespace Probe
