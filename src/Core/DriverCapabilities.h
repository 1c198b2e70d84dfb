// What the current context says it has.
#pragma once

#include <set>
#include <string>
#include <string_view>

namespace Core {

/// Version of a context, 32 for OpenGL ES 3.2.
using ContextVersion = int;

/// Version in a GL_VERSION string; 20 when the string is not OpenGL ES's ("OpenGL ES 3.2 Mesa", "OpenGL ES-CM 1.1").
[[nodiscard]] ContextVersion ParseContextVersion(std::string_view text);

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
