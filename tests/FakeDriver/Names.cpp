#include "FakeDriver/Names.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace Fake {
namespace {

struct EnumName {
    unsigned int value;
    const char* name;
};

constexpr EnumName glNames[] = {
#include "Interfaces/GLEnumNames.inc"
};
constexpr EnumName eglNames[] = {
#include "Interfaces/EGLEnumNames.inc"
};

template <std::size_t count> std::string Name(const EnumName (&names)[count], unsigned int value)
{
    if (value < 0x100) {
        return std::to_string(value);
    }
    const EnumName* found = std::lower_bound(std::begin(names), std::end(names), value,
                                             [](const EnumName& entry, unsigned int v) { return entry.value < v; });
    if (found != std::end(names) && found->value == value) {
        return found->name;
    }
    char text[16];
    std::snprintf(text, sizeof text, "0x%x", value);
    return text;
}

} // namespace

std::string GLName(unsigned int value)
{
    return Name(glNames, value);
}

std::string EGLName(unsigned int value)
{
    return Name(eglNames, value);
}

} // namespace Fake
