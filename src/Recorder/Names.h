// Names of objects. OpenGL ES lets programs bind names that they made up; a replay knows only those that a glGen call
// gave, so the capture gets such a call in front of the first use.
#pragma once

#include <cstdint>
#include <span>
#include <unordered_set>
#include <vector>

#include "Data/ObjectKinds.h"

namespace Recorder {

class Capturing;
class Context;

/// Most names are small, and asked for often.
class NameSet {
public:
    [[nodiscard]] bool Contains(std::uint32_t name) const
    {
        return name < m_small.size() ? m_small[name] : m_large.contains(name);
    }
    void Add(std::span<const std::uint32_t> names);
    void Remove(std::span<const std::uint32_t> names);

private:
    std::vector<bool> m_small;
    std::unordered_set<std::uint32_t> m_large;
};

/// Has a replay generate `name`, which it does not know.
void RecordGeneration(const Capturing& capturing, Context& context, Data::ObjectKind kind, std::uint32_t name) noexcept;

} // namespace Recorder
