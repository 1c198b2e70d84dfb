// The fake driver: its state, what it is told, and the playing of a call.

#include "FakeDriver/Driver.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <sstream>
#include <string_view>
#include <thread>

namespace Fake {
namespace {

/// False while the dynamic linker is still opening the library: then nothing is missing yet.
constinit bool ready = false;

} // namespace

#include "tests/FakeDriver/Extensions.inc"

std::vector<std::string> Split(const std::string& text, char separator)
{
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);)
        if (!part.empty())
            parts.push_back(part);
    return parts;
}

Driver& Driver::Instance()
{
    static Driver driver;
    return driver;
}

Driver::Driver()
{
    if (const char* path = std::getenv("PLAYBACK_FAKE_LOG"))
        m_file.open(path, std::ios::app);
    Reset();
}

void Driver::Reset()
{
    const std::lock_guard lock(m_mutex);
    m_log.clear();
    m_players.clear();
    m_objects = {};
    m_objects.settings = {{"VERSION", "OpenGL ES 3.2"},
                          {"EXTENSIONS", describedExtensions},
                          {"EGL_EXTENSIONS", describedEGLExtensions},
                          {"MISSING", ""},
                          {"STUCK", ""},
                          {"SHIFT", "0"}};
    for (auto& [name, setting] : m_objects.settings)
        if (const char* value = std::getenv(("PLAYBACK_FAKE_" + name).c_str()))
            setting = value;
}

std::vector<std::string> Driver::Log() const
{
    const std::lock_guard lock(m_mutex);
    return m_log;
}

void Driver::ClearLog()
{
    const std::lock_guard lock(m_mutex);
    m_log.clear();
}

void Driver::Answer(const std::string& function, Player player)
{
    const std::lock_guard lock(m_mutex);
    m_players[function] = std::move(player);
}

void Driver::Set(const std::string& setting, const std::string& value)
{
    const std::lock_guard lock(m_mutex);
    m_objects.settings.at(setting) = value;
}

void Driver::SetError(unsigned int error)
{
    const std::lock_guard lock(m_mutex);
    m_objects.error = error;
}

void Driver::SetEGLError(int error)
{
    const std::lock_guard lock(m_mutex);
    m_objects.eglError = error;
}

bool Driver::IsMissing(const Function& function) const
{
    const std::lock_guard lock(m_mutex);
    const auto same = [&function](const Entry& entry) { return entry.function == &function; };
    const auto entries = Entries();
    return std::ranges::any_of(Split(m_objects.settings.at("MISSING"), ','), [&](const std::string& missing) {
        constexpr std::string_view Tenth = "tenth:";
        return missing == function.name ||
               (missing.starts_with(Tenth) && (std::ranges::find_if(entries, same) - entries.begin()) % 10 ==
                                                  std::atoi(missing.c_str() + Tenth.size()));
    });
}

Word Driver::Invoke(const Function& function, const Word* args)
{
    while (m_objects.settings.at("STUCK") == function.name)
        std::this_thread::sleep_for(std::chrono::hours(1));
    const std::lock_guard lock(m_mutex);
    std::string line = FormatInputs(function, args);
    const auto player = m_players.find(function.name);
    const Word value =
        player != m_players.end() && player->second ? player->second(Arguments(args)) : m_objects.Play(function, args);
    line += FormatResults(function, args, value);
    if (m_file.is_open())
        m_file << line << std::endl;
    m_log.push_back(std::move(line));
    return value;
}

Word Invoke(const Function& function, const Word* args)
{
    return Driver::Instance().Invoke(function, args);
}

bool IsMissing(const Function& function)
{
    return ready && Driver::Instance().IsMissing(function);
}

namespace {

[[gnu::constructor]] void Open()
{
    ready = true;
}

} // namespace
} // namespace Fake

extern "C" __attribute__((visibility("default"))) Fake::Control* fake_control()
{
    return &Fake::Driver::Instance();
}
