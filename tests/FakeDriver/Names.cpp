#include "FakeDriver/Names.h"

#include "Interfaces/Core.h"

namespace Fake {
namespace {

/// Small values are numbers, whatever else they may be called.
std::string Name(std::string (*find)(unsigned int), unsigned int value)
{
    return value < 0x100 ? std::to_string(value) : Core::LogFormat::NameOrHex(find, value);
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
