// How frames and programs end, as captures say it.
#pragma once

#include <cstdint>
#include <string_view>

namespace Data {

/// What ended a frame.
enum class FrameEndKind : std::uint32_t { Swap, Flush, Finish, Fence, ReadBack, Marker, ProgramEnd };
/// What they are called, but for the end of the program.
inline constexpr std::string_view FrameEndWords[] = {"swap", "flush", "finish", "fence", "readback", "marker"};

enum class PictureState : std::uint32_t {
    NotHashed, ///< nobody asked for it
    Hashed,
    None ///< there was nothing that could be read
};

enum class ProgramEndKind : std::uint32_t {
    Unknown = 0, ///< killed, or ended without its exit handlers
    Exited = 1,  ///< ended without its exit handlers; `value` is its status
    Signal = 2,  ///< `value` is the signal that ended it
    Replaced = 3 ///< by another program (exec)
};

} // namespace Data
