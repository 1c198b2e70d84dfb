#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "Data/Capture/CaptureSource.h"

namespace Inspect {

/// What a call did with an object.
struct ObjectUse {
    enum Does : std::uint8_t { Made = 1, Changed = 2, Wrote = 4, Read = 8, Deleted = 16 };
    std::uint32_t call = 0;
    std::string function;
    /// Of Does.
    std::uint8_t does = 0;
    /// As what, such as "sampler ramp" or "GL_COLOR_ATTACHMENT0"; once each.
    std::vector<std::string> as = {};
};

/// The calls of a frame that did something with each object, in their order.
class FrameUses {
public:
    /// Kind and captured name, such as {"textures", "5"}.
    using Object = std::pair<std::string, std::string>;

    void Add(const Object& object, std::uint32_t call, const std::string& function, ObjectUse::Does does,
             const std::string& as);
    [[nodiscard]] const std::map<Object, std::vector<ObjectUse>>& All() const { return m_uses; }

private:
    std::map<Object, std::vector<ObjectUse>> m_uses;
};

/// What the calls of a frame tell: what they make, change, upload to and delete, and what draws, clears, blits and
/// dispatches have for reading and writing, as far as it is bound to be used and no driver has to be asked. `path` is
/// the capture's.
FrameUses ReadFrameUses(Data::CaptureSource& source, const std::string& path, std::uint32_t frame);

struct EarlierUse {
    std::uint32_t frame = 0;
    ObjectUse use;
};
/// The latest calls of the frames in front that made, changed or wrote an object, the last `most` of them in their
/// order.
std::vector<EarlierUse> ReadEarlierUses(Data::CaptureSource& source, const std::string& path, std::uint32_t frame,
                                        const FrameUses::Object& object, std::size_t most);

} // namespace Inspect
