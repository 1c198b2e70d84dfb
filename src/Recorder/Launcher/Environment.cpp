#include "Recorder/Launcher/Environment.h"

#include <cstdlib>

#include "Recorder/Settings.h"

namespace Recorder {
namespace {

constexpr char Preload[] = "LD_PRELOAD";

std::string Switch(bool isOn)
{
    return isOn ? "1" : "";
}

} // namespace

std::vector<Variable> RecordingVariables(const RecordingOptions& options)
{
    const Wanted& wanted = options.wanted;
    return {{Preload, options.library},
            {FolderVariable, options.folder},
            {HashVariable, wanted.hash ? std::to_string(wanted.frames.first) : ""},
            {HashDrawsVariable, Switch(wanted.hashDraws)},
            {FramesVariable, wanted.HasEnd() ? std::to_string(wanted.frames.last) : ""},
            {FrameEndVariable, options.frameEnd == FrameEndAuto ? "" : options.frameEnd},
            {PreferEsVariable, Switch(options.preferEs)},
            {StacksVariable, options.stacks}};
}

std::vector<Variable> ToolkitVariables(const RecordingOptions& options)
{
    if (!options.preferEs)
        return {};
    return {{"GST_GL_API", "gles2"}, {"GST_GL_PLATFORM", "egl"}, {"GDK_GL", "gles"}};
}

void SetEnvironment(const RecordingOptions& options)
{
    const char* const before = std::getenv(Preload);
    const std::string others = before != nullptr && *before != '\0' ? std::string(":") + before : "";
    for (const auto& [name, value] : RecordingVariables(options))
        value.empty() ? unsetenv(name) : setenv(name, value.c_str(), 1);
    setenv(Preload, (options.library + others).c_str(), 1);
    for (const auto& [name, value] : ToolkitVariables(options))
        setenv(name, value.c_str(), 0);
}

} // namespace Recorder
