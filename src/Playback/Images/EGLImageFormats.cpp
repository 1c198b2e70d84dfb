#include "Playback/Images/EGLImageFormats.h"

#include <algorithm>
#include <iterator>

namespace Playback {

namespace {

/// In ascending order of the codes.
constexpr EGLImageFormat Formats[] = {
    {0, 0x1, 0x31C0},
    {10, 0x16, 0x31CD},
    {24, 0x2B, 0x31CE},
    {28, 0x1, 0x3122},
    {29, 0xC, 0x31C4},
    {34, 0, 0x31CC},
    {40, 0x33, 0},
    {45, 0x32, 0},
    {49, 0x10E, 0x31C1},
    {54, 0, 0x31CB},
    {55, 0x30, 0},
    {61, 0x10D, 0x31C0},
    {85, 0x4, 0x3123},
    {87, 0x5, 0x3129},
    {88, 0, 0x312A},
    {103, 0x109, 0},
    {104, 0, 0x3415},
    {107, 0x10, 0x3124},
    {506, 0x7FA30C04, 0x31C2},
    {507, 0x2, 0x312F},
    {508, 0x3, 0x31C8},
    {520, 0xD, 0x31C3},
    {549, 0x31, 0},
    {551, 0x34, 0},
    {552, 0x35, 0},
    {611, 0x6, 0x31C9},
    {612, 0x7, 0x31CA},
    {614, 0x120, 0x3125},
    {616, 0x32315659, 0x3126},
    {617, 0x10B, 0x31C5},
    {618, 0, 0x31C6},
    {619, 0x11, 0x3127},
    {623, 0x3, 0},
    {625, 0x20203859, 0},
    {654, 0x7FA30C09, 0x340E},
    {655, 0, 0x3418},
    {656, 0, 0x3419},
    {657, 0, 0x340F},
    {658, 0, 0x3410},
    {659, 0, 0x3411},
    {660, 0, 0x3412},
    {661, 0, 0x3413},
    {662, 0, 0x3414},
    {663, 0, 0x3416},
    {664, 0, 0x3417},
};

/// Runs of formats, numbered alike everywhere: the compressed ones, then the same in sRGB.
constexpr EGLImageFormat RunStarts[] = {{568, 0x93B0, 0x33E2}, {582, 0x93D0, 0x3400}};
constexpr unsigned int RunLength = 14;

} // namespace

std::optional<EGLImageFormat> FindEGLImageFormat(unsigned int code)
{
    for (const auto& start : RunStarts) {
        if (code >= start.code && code - start.code < RunLength) {
            const unsigned int index = code - start.code;
            return EGLImageFormat{code, start.gralloc + index, start.tavo + index};
        }
    }
    const auto* found = std::lower_bound(std::begin(Formats), std::end(Formats), code,
                                         [](const EGLImageFormat& format, unsigned int c) { return format.code < c; });
    if (found == std::end(Formats) || found->code != code)
        return std::nullopt;
    return *found;
}

} // namespace Playback
