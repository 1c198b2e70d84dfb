// What the current context says it has.
#pragma once

#include <set>
#include <string>
#include <string_view>

#include "Interfaces/GLState.h"

namespace Core {

/// The versions and extensions of all contexts seen so far, since one set of tables serves them all.
class DriverCapabilities {
public:
    /// `extensions` are separated by blanks.
    void Add(ContextVersion version, std::string_view extensions);
    void Clear();

    [[nodiscard]] ContextVersion Version() const { return m_version; }
    /// `where` is a version ("3.1") or extensions joined by "|", of which one is enough.
    [[nodiscard]] bool Has(std::string_view where) const;

private:
    ContextVersion m_version = 0;
    std::set<std::string, std::less<>> m_extensions;
};

} // namespace Core
