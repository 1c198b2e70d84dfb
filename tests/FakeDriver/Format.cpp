// How the fake driver's log looks.

#include <cstdio>
#include <cstring>

#include "FakeDriver/Function.h"
#include "Interfaces/Core.h"

namespace Fake {
namespace {

/// The name of an enum value, or the number: in decimal below 0x100, where one value has many meanings, else in hex.
std::string Name(std::string (*find)(unsigned int), unsigned int value)
{
    return value < 0x100 ? std::to_string(value) : Core::LogFormat::NameOrHex(find, value);
}

std::string GLName(Word value)
{
    return Name(&Core::LogFormat::GetGLEnumString, static_cast<unsigned>(value));
}

std::string EGLName(Word value)
{
    return Name(&Core::LogFormat::GetEGLEnumString, static_cast<unsigned>(value));
}

template <class... Values> std::string Print(const char* format, Values... values)
{
    char text[64];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

std::string Quote(const char* text, std::size_t length)
{
    std::string result = "\"";
    for (std::size_t i = 0; i < length; ++i)
        if (text[i] == '\n')
            result += "\\n";
        else if (text[i] == '"' || text[i] == '\\')
            result += std::string("\\") + text[i];
        else
            result += text[i];
    return result + '"';
}

template <class Element> std::string Pairs(const Element* list, Element end)
{
    std::string result = "{";
    for (; list[0] != end; list += 2) {
        result +=
            (result.size() > 1 ? ", " : "") + EGLName(static_cast<Word>(list[0])) + ": " + std::to_string(list[1]);
    }
    return result + "}";
}

template <class T> Word ReadElement(const void* pointer, std::int64_t index)
{
    return ToWord(static_cast<const T*>(pointer)[index]);
}

Word ReadElement(const Parameter& parameter, const void* array, std::int64_t index)
{
    if (parameter.elementForm == Form::Float)
        return ReadElement<float>(array, index);
    const bool negative = parameter.elementForm == Form::Signed;
    switch (parameter.elementBytes) {
    case 1:
        return ReadElement<std::uint8_t>(array, index);
    case 4:
        return negative ? ReadElement<std::int32_t>(array, index) : ReadElement<std::uint32_t>(array, index);
    default:
        return ReadElement<std::uint64_t>(array, index);
    }
}

/// Memory in hex where it is short, else a fingerprint of it (FNV-1a): logs can be compared, and stay readable.
std::string FormatBytes(const std::uint8_t* bytes, std::int64_t count)
{
    std::string result = "<" + std::to_string(count) + " bytes ";
    if (count <= 16) {
        for (std::int64_t i = 0; i < count; ++i)
            result += Print("%02x", bytes[i]);
        return result + ">";
    }
    std::uint32_t fingerprint = 2166136261;
    for (std::int64_t i = 0; i < count; ++i)
        fingerprint = (fingerprint ^ bytes[i]) * 16777619;
    return result + Print("#%08x>", fingerprint);
}

std::string FormatArray(const Parameter& parameter, const void* array, std::int64_t count)
{
    if (parameter.elementForm == Form::Byte)
        return FormatBytes(static_cast<const std::uint8_t*>(array), count);
    std::string result = "[";
    for (std::int64_t i = 0; i < count; ++i)
        result += (i > 0 ? ", " : "") + FormatValue(parameter.elementForm, ReadElement(parameter, array, i));
    return result + "]";
}

/// Addresses differ from run to run, so only offsets into buffers are written out.
std::string FormatAddress(Word value)
{
    return value == 0 ? "null" : value < 0x10000 ? "offset " + std::to_string(value) : "pointer";
}

std::string FormatStrings(const char* const* strings, std::int64_t count)
{
    std::string result = "[";
    for (std::int64_t i = 0; i < count; ++i)
        result += (i > 0 ? ", " : "") + (strings[i] ? Quote(strings[i], std::strlen(strings[i])) : "null");
    return result + "]";
}

std::string FormatArgument(const Parameter& parameter, const Word* args, Word value)
{
    const void* pointer = reinterpret_cast<const void*>(value);
    switch (parameter.form) {
    case Form::CString:
    case Form::Characters:
    case Form::Strings:
    case Form::Array:
    case Form::Attribs:
    case Form::Attribs64:
        break;
    default:
        return FormatValue(parameter.form, value);
    }
    if (!pointer || parameter.offset)
        return FormatAddress(value);
    const auto* text = static_cast<const char*>(pointer);
    const std::int64_t count = parameter.count ? parameter.count(args) : -1;
    switch (parameter.form) {
    case Form::CString:
        return Quote(text, std::strlen(text));
    case Form::Characters:
        return Quote(text, count < 0 ? std::strlen(text) : strnlen(text, count));
    case Form::Strings:
        return FormatStrings(static_cast<const char* const*>(pointer), count);
    case Form::Attribs:
        return Pairs(static_cast<const std::int32_t*>(pointer), 0x3038);
    case Form::Attribs64:
        return Pairs(static_cast<const std::int64_t*>(pointer), std::int64_t{0x3038});
    default:
        return count < 0 ? FormatAddress(value) : FormatArray(parameter, pointer, count);
    }
}

} // namespace

std::string FormatValue(Form form, Word value)
{
    static const char* const primitives[] = {"GL_POINTS",    "GL_LINES",          "GL_LINE_LOOP",   "GL_LINE_STRIP",
                                             "GL_TRIANGLES", "GL_TRIANGLE_STRIP", "GL_TRIANGLE_FAN"};
    switch (form) {
    case Form::Signed:
        return std::to_string(static_cast<std::int64_t>(value));
    case Form::Unsigned:
    case Form::Handle:
        return std::to_string(value);
    case Form::Bool:
        return value == 0 ? "false" : "true";
    case Form::Float:
        return Print("%g", static_cast<double>(FromWord<float>(value)));
    case Form::Bits:
        return Print("0x%x", static_cast<unsigned>(value));
    case Form::Enum:
        return GLName(value);
    case Form::EGLEnum:
        return EGLName(value);
    case Form::Primitive:
        return value < std::size(primitives) ? primitives[value] : GLName(value);
    case Form::CString:
        return value ? Quote(FromWord<const char*>(value), std::strlen(FromWord<const char*>(value))) : "null";
    default:
        return FormatAddress(value);
    }
}

std::string FormatInputs(const Function& function, const Word* args)
{
    std::string line = function.name;
    line += '(';
    for (std::size_t i = 0; i < function.parameters.size(); ++i) {
        const Parameter& parameter = function.parameters[i];
        if (!parameter.out)
            line += (line.back() == '(' ? "" : ", ") + FormatArgument(parameter, args, args[i]);
    }
    return line + ")";
}

std::string FormatResults(const Function& function, const Word* args, Word value)
{
    std::string line;
    const auto add = [&line](const std::string& text) { line += (line.empty() ? " = " : ", ") + text; };
    if (function.returns != Form::None)
        add(FormatValue(function.returns, value));
    for (std::size_t i = 0; i < function.parameters.size(); ++i)
        if (function.parameters[i].out)
            add(FormatArgument(function.parameters[i], args, args[i]));
    return line;
}

} // namespace Fake
