#pragma once

#include <unordered_map>

namespace Playback {

/// Captured locations of one kind (uniforms, attributes ...) and the live ones they stand for, program by program.
/// Programs are captured names; a live location may be -1. Entries are never removed: a program that is linked again,
/// or a new one under a name used before, overwrites them as its locations are asked for.
class LocationMaps {
public:
    using LocationMap = std::unordered_map<int, int>;

    LocationMaps() = default;
    LocationMaps(const LocationMaps&) = delete;
    LocationMaps& operator=(const LocationMaps&) = delete;

    /// Replaces an earlier live location.
    void Set(unsigned int program, int location, int liveLocation);

    /// Null when no location of the program was ever set. The last program found is remembered, since draws come in
    /// runs that use the same program: such a call costs no lookup.
    const LocationMap* Find(unsigned int program) const
    {
        return program == m_lastProgram ? m_lastMap : FindOther(program);
    }

private:
    const LocationMap* FindOther(unsigned int program) const;

    std::unordered_map<unsigned int, LocationMap> m_programs;
    /// 0: none yet, and m_lastMap is null.
    mutable unsigned int m_lastProgram = 0;
    mutable const LocationMap* m_lastMap = nullptr;
};

} // namespace Playback
