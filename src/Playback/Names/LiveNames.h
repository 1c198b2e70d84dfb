#pragma once

#include <cstdint>
#include <vector>

#include "Interfaces/Data.h"

namespace Playback {

/// The live names that stand for an array of captured names during one call. `Name` is the element type of both.
/// Empty, with a null array, when the capture has no contents or the count is not positive.
template <class Name> class LiveNames {
public:
    /// All names are 0 at first. `captured` must have `count` elements and outlive this.
    LiveNames(std::int32_t count, const Data::PointerData* captured)
    {
        if (captured->HasData() && count > 0) {
            m_captured = captured->As<const Name>();
            m_live.resize(static_cast<std::size_t>(count));
        }
    }

    /// Sets each live name to what `lookUp` returns for the captured one.
    template <class LookUp> void Translate(LookUp lookUp)
    {
        for (std::size_t i = 0; i < m_live.size(); ++i)
            m_live[i] = static_cast<Name>(lookUp(m_captured[i]));
    }

    /// Calls `visit(captured, live)` for each pair.
    template <class Visit> void ForEach(Visit visit) const
    {
        for (std::size_t i = 0; i < m_live.size(); ++i)
            visit(m_captured[i], m_live[i]);
    }

    Name* Live() { return m_live.empty() ? nullptr : m_live.data(); }

private:
    const Name* m_captured = nullptr;
    std::vector<Name> m_live;
};

} // namespace Playback
