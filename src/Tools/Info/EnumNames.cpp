#include "Tools/Info/EnumNames.h"

#include <algorithm>
#include <span>

namespace Tools {

namespace {

struct EnumName {
    std::uint32_t value;
    const char* name;
};

// Ordered by value.
constexpr EnumName glNames[] = {
#include "Interfaces/GLEnumNames.inc"
};
constexpr EnumName eglNames[] = {
#include "Interfaces/EGLEnumNames.inc"
};

const char* Find(std::span<const EnumName> names, std::uint32_t value)
{
    const auto found =
        std::lower_bound(names.begin(), names.end(), value,
                         [](const EnumName& entry, std::uint32_t wanted) { return entry.value < wanted; });
    return found != names.end() && found->value == value ? found->name : nullptr;
}

} // namespace

const char* GLEnumName(std::uint32_t value)
{
    return Find(glNames, value);
}

const char* EGLEnumName(std::uint32_t value)
{
    return Find(eglNames, value);
}

} // namespace Tools
