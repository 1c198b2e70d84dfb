#include "Recorder/Identifiers.h"

#include <array>
#include <mutex>
#include <unordered_map>

#include "Recorder/Platform.h"

namespace Recorder {
namespace {

struct Numbers {
    std::unordered_map<const void*, std::uint32_t> known;
    std::uint32_t last = 0;
};

struct Table {
    std::mutex mutex;
    std::array<Numbers, 7> kinds;
};

/// Never destroyed: programs make calls until the very end.
Table& TheTable()
{
    static Table& table = *new Table;
    return table;
}

template <class Action> std::uint32_t Locked(Identifier kind, Action action) noexcept
{
    try {
        Table& table = TheTable();
        const std::lock_guard lock(table.mutex);
        return action(table.kinds[static_cast<std::size_t>(kind)]);
    } catch (...) {
        return 0;
    }
}

} // namespace

std::uint32_t Identify(Identifier kind, const void* object) noexcept
{
    if (object == nullptr)
        return 0;
    return Locked(kind, [object](Numbers& numbers) {
        const auto [place, isNew] = numbers.known.try_emplace(object, numbers.last + 1);
        numbers.last += isNew ? 1 : 0;
        return place->second;
    });
}

std::uint32_t IdentifyNew(Identifier kind, const void* object) noexcept
{
    if (object == nullptr)
        return 0;
    return Locked(kind, [object](Numbers& numbers) {
        numbers.known.insert_or_assign(object, numbers.last + 1);
        return ++numbers.last;
    });
}

std::uint32_t NextNumber(Identifier kind) noexcept
{
    return Locked(
        kind, [](const Numbers& numbers) { return numbers.last + 1; });
}

std::uint32_t IdentifyImageSource(std::uint32_t target, const void* source) noexcept
{
    switch (target) {
    case EGL_GL_TEXTURE_2D_KHR:
    case EGL_GL_TEXTURE_3D_KHR:
    case EGL_GL_TEXTURE_CUBE_MAP_POSITIVE_X_KHR:
    case EGL_GL_TEXTURE_CUBE_MAP_NEGATIVE_X_KHR:
    case EGL_GL_TEXTURE_CUBE_MAP_POSITIVE_Y_KHR:
    case EGL_GL_TEXTURE_CUBE_MAP_NEGATIVE_Y_KHR:
    case EGL_GL_TEXTURE_CUBE_MAP_POSITIVE_Z_KHR:
    case EGL_GL_TEXTURE_CUBE_MAP_NEGATIVE_Z_KHR:
    case EGL_GL_RENDERBUFFER_KHR:
        return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(source));
    default:
        return Identify(Identifier::Pointer, source);
    }
}

} // namespace Recorder
