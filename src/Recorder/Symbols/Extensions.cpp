#include "Recorder/Symbols/Extensions.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "Recorder/Platform.h"
#include "Recorder/Symbols/LiveFunctions.h"
#include "Recorder/Symbols/PreferEs.h"

namespace Recorder {
namespace {

/// Sorted.
constexpr std::string_view HiddenExtensions[] = {
#include "Recorder/HiddenExtensions.inc"
};

struct Answers {
    std::mutex mutex;
    /// By the driver's own list.
    std::map<std::string, std::string, std::less<>> filtered;
    /// By the filtered list: a context has the same extensions whichever way it is asked.
    std::map<std::vector<const char*>, std::vector<const char*>> indexed;
};

/// Never destroyed: programs keep the strings.
Answers& TheAnswers()
{
    static Answers& answers = *new Answers;
    return answers;
}

/// What leads to desktop OpenGL, or to OpenGL ES without EGL.
constexpr std::string_view DesktopNames[] = {"OpenGL", "GLX_EXT_create_context_es_profile",
                                             "GLX_EXT_create_context_es2_profile"};

bool IsHidden(std::string_view name)
{
    return std::ranges::binary_search(HiddenExtensions, name) ||
           (PrefersEs() && std::ranges::find(DesktopNames, name) != std::end(DesktopNames));
}

std::string Filter(std::string_view list)
{
    std::string kept;
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(' '), list.size());
        const std::string_view name = list.substr(0, end);
        if (!name.empty() && !IsHidden(name)) {
            kept += kept.empty() ? "" : " ";
            kept += name;
        }
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return kept;
}

std::vector<const char*> DriverExtensions()
{
    GLint count = 0;
    Live<void (*)(GLenum, GLint*)>(Entry::glGetIntegerv)(GL_NUM_EXTENSIONS, &count);
    const auto getStringi = Live<const GLubyte* (*)(GLenum, GLuint)>(Entry::glGetStringi);
    std::vector<const char*> names;
    for (GLint i = 0; i < count; ++i)
        names.push_back(reinterpret_cast<const char*>(getStringi(GL_EXTENSIONS, static_cast<GLuint>(i))));
    return names;
}

} // namespace

bool IsHiddenExtension(const char* name) noexcept
{
    return name != nullptr && IsHidden(name);
}

const char* WithoutHiddenExtensions(const char* list) noexcept
{
    try {
        if (list == nullptr)
            return nullptr;
        Answers& answers = TheAnswers();
        const std::lock_guard lock(answers.mutex);
        const auto [place, isNew] = answers.filtered.try_emplace(list);
        if (isNew)
            place->second = Filter(list);
        return place->second.c_str();
    } catch (...) {
        return list;
    }
}

std::span<const char* const> IndexedExtensions() noexcept
{
    try {
        std::vector<const char*> names = DriverExtensions();
        Answers& answers = TheAnswers();
        const std::lock_guard lock(answers.mutex);
        const auto [place, isNew] = answers.indexed.try_emplace(names);
        if (isNew) {
            std::erase_if(names, &IsHiddenExtension);
            place->second = std::move(names);
        }
        return place->second;
    } catch (...) {
        return {};
    }
}

} // namespace Recorder
