#include "Tools/Info/EnumNames.h"

#include <algorithm>
#include <span>

#include "Data/Records/CallTable.h"

namespace Tools {

namespace {

struct EnumName {
    std::uint32_t value;
    const char* name;
};

// Ordered by value.
constexpr EnumName GlNames[] = {
#include "Interfaces/GLEnumNames.inc"
};
constexpr EnumName EglNames[] = {
#include "Interfaces/EGLEnumNames.inc"
};

/// Values up to this one have many names.
constexpr std::uint32_t LastSmallValue = 7;

struct SmallNames {
    std::string_view functions;
    std::span<const char* const> names;
};

constexpr const char* None[] = {"GL_NONE"};
constexpr const char* NoError[] = {"GL_NO_ERROR"};
constexpr const char* Factors[] = {"GL_ZERO", "GL_ONE"};
constexpr const char* Primitives[] = {"GL_POINTS",    "GL_LINES",          "GL_LINE_LOOP",   "GL_LINE_STRIP",
                                      "GL_TRIANGLES", "GL_TRIANGLE_STRIP", "GL_TRIANGLE_FAN"};

// By how the names of functions begin; the first one that fits holds.
constexpr SmallNames SmallNameTable[] = {
    {"glBlendFunc", Factors},    {"glStencilOp", Factors}, {"glDrawBuffers", None},
    {"glReadBuffer", None},      {"glDraw", Primitives},   {"glBeginTransformFeedback", Primitives},
    {"glMultiDraw", Primitives}, {"glGetError", NoError},  {"glGetGraphicsResetStatus", NoError},
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
    return Find(GlNames, value);
}

const char* EGLEnumName(std::uint32_t value)
{
    return Find(EglNames, value);
}

const char* EnumName(std::string_view function, std::uint32_t value)
{
    if (value > LastSmallValue)
        return Data::IsEGL(function) ? EGLEnumName(value) : GLEnumName(value);
    for (const SmallNames& small : SmallNameTable)
        if (function.starts_with(small.functions))
            return value < small.names.size() ? small.names[value] : nullptr;
    return nullptr;
}

} // namespace Tools
