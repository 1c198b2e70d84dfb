#include "Playback/Names/LocationMaps.h"

namespace Playback {

void LocationMaps::Set(unsigned int program, int location, int liveLocation)
{
    m_programs[program][location] = liveLocation;
}

const LocationMaps::LocationMap* LocationMaps::FindOther(unsigned int program) const
{
    const auto entry = m_programs.find(program);
    if (entry == m_programs.end())
        return nullptr; // not remembered, since the program may get its first location next
    m_lastProgram = program;
    m_lastMap = &entry->second; // elements of an unordered_map do not move
    return m_lastMap;
}

} // namespace Playback
