// What is known of the recorded program's objects and contexts besides the slots of their state.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Data/State/StateSlots.h"
#include "Replay/LiveCalls.h"

namespace Trim {

using Data::Owner;
using Data::Slot;
using Data::State;
using Replay::Current;

/// An image of an object: the target that it is uploaded to, of which a cube map has six, and its level. Both are 0 for
/// the only image of a renderbuffer or a surface.
using ImagePlace = std::pair<std::uint32_t, std::uint32_t>;

struct Image {
    Owner object = 0;
    std::uint32_t face = 0;
    std::uint32_t level = 0;
    [[nodiscard]] ImagePlace Place() const { return {face, level}; }
};

/// In pixels.
struct ImageSize {
    std::int32_t width = 0;
    std::int32_t height = 0;
    bool operator==(const ImageSize&) const = default;
};

/// What is known of an owner besides its slots.
struct ObjectInfo {
    bool isDeleted = false;
    /// An EGLImage shows the same pixels under another name.
    bool isAliased = false;
    /// Objects that this one referred to at some time.
    std::set<Owner> references;
    std::set<Owner> referencedBy;
    /// Some call bound it, which is when most kinds of objects come into being.
    bool wasBound = false;
    /// Queries: it was begun and ended.
    bool wasQueried = false;
    /// Programs and shaders: a shader stays while it is attached.
    std::set<Owner> attached;
    /// Textures and renderbuffers.
    std::map<ImagePlace, ImageSize> sizes;
    /// Images that the GPU wrote to since they were uploaded whole.
    std::set<ImagePlace> drawn;
    bool hasMipmaps = false;
    /// Target of a texture, 0 until it is bound.
    std::uint32_t target = 0;
    /// Of a buffer.
    std::int64_t bytes = 0;
    /// The GPU may have written to the buffer.
    bool isDrawn = false;
    /// Locations that were asked for since the program was linked.
    std::set<std::string, std::less<>> locations;
};

/// What is known of a context besides its slots.
struct ContextInfo {
    bool wasCurrent = false;
    /// Between the begin and the end of transform feedback.
    bool isCapturing = false;
    /// Records of debug groups that were pushed and not popped yet.
    std::vector<std::size_t> debugGroups;
    /// Queries that were begun and not ended, by target.
    std::map<std::uint32_t, Owner> queries;
    /// Matrices that were pushed and not popped yet, by the slot of their stack.
    std::map<Data::Slot, std::uint32_t> matrixDepths;
};

} // namespace Trim
