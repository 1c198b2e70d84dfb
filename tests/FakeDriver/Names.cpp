#include "FakeDriver/Names.h"

#include <cstdio>

#include "Interfaces/Core.h"

namespace Fake {
namespace {

std::string Name(std::string (*find)(unsigned int), unsigned int value)
{
    if (value < 0x100) {
        return std::to_string(value);
    }
    std::string name = find(value);
    if (name.empty()) {
        char text[16];
        std::snprintf(text, sizeof text, "0x%x", value);
        name = text;
    }
    return name;
}

} // namespace

std::string GLName(unsigned int value)
{
    return Name(&Core::LogFormat::GetGLEnumString, value);
}

std::string EGLName(unsigned int value)
{
    return Name(&Core::LogFormat::GetEGLEnumString, value);
}

} // namespace Fake
