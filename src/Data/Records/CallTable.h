// The calls that this program knows. Made from the API description; small enough for the recorder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Data/CallIds.h"

namespace Data {

/// A call as the call table of a capture names it. `signature` has one letter for the return value and one for each
/// parameter, and with the layout rules gives the place of each in a record; docs/capture-format.md lists the letters.
struct CallDescription {
    const char* name;
    const char* signature;
};

/// Indexed by CallId.
extern const std::span<const CallDescription, callCount> callTable;

/// A call of a file's table, by its number there.
struct FileCall {
    std::string name;
    std::string signature;
    /// The call of this program with that name and signature; callCount when there is none.
    std::uint32_t known = callCount;

    bool operator==(const FileCall&) const = default;
};

/// The table of the files that this program writes.
std::vector<FileCall> OwnCalls();

inline const char* NameOf(CallId call)
{
    return callTable[static_cast<std::size_t>(call)].name;
}

/// EGL comes after OpenGL ES in the numbers of the calls.
constexpr bool IsEGL(CallId call)
{
    return call >= CallId::eglGetError;
}
static_assert(!IsEGL(CallId::glActiveTexture) && !IsEGL(CallId::glPatchParameterfv) &&
              IsEGL(CallId::eglCreateImageKHRv1));

/// Of a call that this program may not know.
constexpr bool IsEGL(std::string_view function)
{
    return function.starts_with("egl");
}

} // namespace Data
