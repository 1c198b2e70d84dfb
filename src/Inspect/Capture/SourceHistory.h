#pragma once

#include <cstdint>
#include <iterator>
#include <map>
#include <vector>

#include "Data/State/ProgramSources.h"
#include "Inspect/Place.h"

namespace Inspect {

/// The sources of programs at any place of a capture.
class SourceHistory {
public:
    void Follow(const Data::CallArguments& call, const Place& place)
    {
        if (const std::uint32_t program = m_sources.Follow(call); program != 0)
            m_linked[program][place] = m_sources.Of(program);
    }
    /// Those of the last time that the program was linked in front of the place; empty where it was not.
    [[nodiscard]] std::vector<Data::ShaderSource> Of(std::uint32_t program, const Place& place) const
    {
        const auto all = m_linked.find(program);
        if (all == m_linked.end())
            return {};
        const auto after = all->second.upper_bound(place);
        return after != all->second.begin() ? std::prev(after)->second : std::vector<Data::ShaderSource>{};
    }

private:
    Data::ProgramSources m_sources;
    /// By program, then by the place where it was linked.
    std::map<std::uint32_t, std::map<Place, std::vector<Data::ShaderSource>>> m_linked;
};

} // namespace Inspect
