// What the sources of GLResourceTable have in common.
#pragma once

#include "Interfaces/Core.h"

/// Reports something that does not stop the replay, from this line.
#define REPORT(...) PLAYBACK_LOG(Diagnostic, General, "src/Playback/GLResourceTable", __VA_ARGS__)

namespace Playback {

/// The two values that stand for "none" in a capture are never mapped.
constexpr bool IsValidId(unsigned int id)
{
    return id != 0 && id != 0xFFFFFFFF;
}

/// Maps `id` to `value`; true when that replaced another value.
template <class Map> bool Assign(Map& map, typename Map::key_type id, typename Map::mapped_type value)
{
    const auto [entry, isNew] = map.try_emplace(id, value);
    if (isNew || entry->second == value)
        return false;
    entry->second = value;
    return true;
}

/// Null when `id` is not mapped.
template <class Map> auto* Find(Map& map, typename Map::key_type id)
{
    const auto entry = map.find(id);
    return entry == map.end() ? nullptr : &entry->second;
}

} // namespace Playback
