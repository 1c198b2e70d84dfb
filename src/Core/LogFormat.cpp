#include "Interfaces/Core.h"

#include <algorithm>
#include <cstdio>
#include <span>

namespace Core {

namespace {

struct EnumName {
    unsigned int value;
    const char* name;
};

// Ordered by value.
constexpr EnumName GLNames[] = {
#include "Interfaces/GLEnumNames.inc"
};
constexpr EnumName EGLNames[] = {
#include "Interfaces/EGLEnumNames.inc"
};

std::string Find(std::span<const EnumName> names, unsigned int value)
{
    const auto found =
        std::lower_bound(names.begin(), names.end(), value,
                         [](const EnumName& entry, unsigned int wanted) { return entry.value < wanted; });
    return found != names.end() && found->value == value ? found->name : std::string();
}

} // namespace

std::string LogFormat::GetGLEnumString(unsigned int value)
{
    return Find(GLNames, value);
}

std::string LogFormat::GetEGLEnumString(unsigned int value)
{
    return Find(EGLNames, value);
}

std::string LogFormat::NameOrHex(std::string (*getEnumString)(unsigned int), unsigned int value)
{
    std::string name = getEnumString(value);
    if (name.empty()) {
        char number[16];
        std::snprintf(number, sizeof number, "0x%x", value);
        name = number;
    }
    return name;
}

} // namespace Core
