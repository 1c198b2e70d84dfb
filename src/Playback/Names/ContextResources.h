// What GLResourceTable keeps under one key: a context, or the root of a share group.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <unordered_map>

#include "Playback/NameKinds.h"
#include "Playback/Names/LocationMaps.h"

namespace Playback {

struct MappedBufferInfo {
    std::uint64_t capturedPointer;
    /// The driver's memory.
    unsigned char* data;
    std::uint32_t length;
};

/// Kinds of locations inside a program.
enum class LocationKind { Attrib, Uniform, UniformBlock, FragData, FragDataIndex, Count };

using NameMap = std::unordered_map<unsigned int, unsigned int>;

/// The maps under one key, which is a context or the root of a share group. A root has both sorts of kinds in one.
struct ContextResources {
    std::unordered_map<unsigned int, void*> voidPtrs;
    std::array<NameMap, static_cast<std::size_t>(NameKind::Count)> names;
    std::unordered_map<int, int> sharedBuffers;
    std::array<LocationMaps, static_cast<std::size_t>(LocationKind::Count)> locations;
    /// By binding query, such as GL_ARRAY_BUFFER_BINDING.
    std::unordered_map<unsigned int, MappedBufferInfo> mappedBuffers;

    NameMap& Names(NameKind kind) { return names[static_cast<std::size_t>(kind)]; }
    const NameMap& Names(NameKind kind) const { return names[static_cast<std::size_t>(kind)]; }
    LocationMaps& Locations(LocationKind kind) { return locations[static_cast<std::size_t>(kind)]; }
    const LocationMaps& Locations(LocationKind kind) const { return locations[static_cast<std::size_t>(kind)]; }
};

/// Kinds that contexts of a share group do not share. Program pipelines are kept with the shared ones.
constexpr bool IsPerContext(NameKind kind)
{
    switch (kind) {
    case NameKind::Framebuffer:
    case NameKind::Query:
    case NameKind::VertexArray:
    case NameKind::TransformFeedback:
    case NameKind::PerfMonitor:
    case NameKind::PerfMonitorGroup:
    case NameKind::Counter:
        return true;
    default:
        return false;
    }
}

/// Kinds whose messages name the kind in every case; those of the others do so only when there is no entry at all.
constexpr bool NamesKindThroughout(NameKind kind)
{
    return kind == NameKind::MemoryObject || kind == NameKind::Semaphore;
}

} // namespace Playback
