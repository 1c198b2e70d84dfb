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
constexpr EnumName glNames[] = {
#include "Interfaces/GLEnumNames.inc"
};
constexpr EnumName eglNames[] = {
#include "Interfaces/EGLEnumNames.inc"
};

/// Values up to this one have many names.
constexpr std::uint32_t lastSmallValue = 7;

struct SmallNames {
    std::string_view functions;
    std::span<const char* const> names;
};

constexpr const char* none[] = {"GL_NONE"};
constexpr const char* noError[] = {"GL_NO_ERROR"};
constexpr const char* factors[] = {"GL_ZERO", "GL_ONE"};
constexpr const char* primitives[] = {"GL_POINTS",    "GL_LINES",          "GL_LINE_LOOP",   "GL_LINE_STRIP",
                                      "GL_TRIANGLES", "GL_TRIANGLE_STRIP", "GL_TRIANGLE_FAN"};

// By how the names of functions begin; the first one that fits holds.
constexpr SmallNames smallNames[] = {
    {"glBlendFunc", factors},    {"glStencilOp", factors}, {"glDrawBuffers", none},
    {"glReadBuffer", none},      {"glDraw", primitives},   {"glBeginTransformFeedback", primitives},
    {"glMultiDraw", primitives}, {"glGetError", noError},  {"glGetGraphicsResetStatus", noError},
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

const char* EnumName(std::string_view function, std::uint32_t value)
{
    if (value > lastSmallValue)
        return Data::IsEGL(function) ? EGLEnumName(value) : GLEnumName(value);
    for (const SmallNames& small : smallNames)
        if (function.starts_with(small.functions))
            return value < small.names.size() ? small.names[value] : nullptr;
    return nullptr;
}

} // namespace Tools
