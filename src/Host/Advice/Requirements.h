#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

namespace Host {

/// What the calls of a capture need of a driver. What its program only asked for (limits, extensions) is no need.
struct Requirements {
    /// Highest version of OpenGL ES that the program asked a context of, 32 for 3.2; 0 without contexts.
    int version = 0;
    /// Calls by function.
    std::map<std::string, std::uint64_t> functions;
    /// Formats of compressed textures.
    std::set<std::uint32_t> textureFormats;
    /// Formats of program binaries.
    std::set<std::uint32_t> binaryFormats;
    /// The limits that calls come close to, as names of glGetIntegerv, and how much of each is used: the largest
    /// texture, the number of texture units, and so on.
    std::map<std::uint32_t, std::int64_t> limits;
};

/// Reads a capture up to the end of a frame, or as far as it can be read; trouble is not reported.
Requirements ReadRequirements(const std::string& captureFile, std::uint32_t lastFrame);

} // namespace Host
