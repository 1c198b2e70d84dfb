// The fake driver: its state, what it is told, and the playing of a call.

#include "FakeDriver/Driver.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace Fake {
namespace {

/// False while the dynamic linker is still opening the library: then nothing is missing yet.
constinit bool ready = false;

const char* Environment(const char* name, const char* otherwise)
{
    const char* value = std::getenv(name);
    return value ? value : otherwise;
}

std::vector<std::string> Split(const std::string& text, char separator)
{
    std::vector<std::string> parts;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find(separator, start), text.size());
        if (end > start) {
            parts.push_back(text.substr(start, end - start));
        }
        start = end + 1;
    }
    return parts;
}

} // namespace

#include "tests/FakeDriver/Extensions.inc"

Driver& Driver::Instance()
{
    static Driver driver;
    return driver;
}

Driver::Driver()
{
    if (const char* path = std::getenv("PLAYBACK_FAKE_LOG")) {
        m_file.open(path, std::ios::app);
    }
    Reset();
}

void Driver::Reset()
{
    const std::lock_guard lock(m_mutex);
    m_log.clear();
    m_players.clear();
    m_missing.clear();
    m_tenth = -1;
    m_objects = {};
    m_objects.shift = std::strtoull(Environment("PLAYBACK_FAKE_SHIFT", "0"), nullptr, 10);
    m_objects.version = Environment("PLAYBACK_FAKE_VERSION", "OpenGL ES 3.2");
    m_objects.extensions = Split(Environment("PLAYBACK_FAKE_EXTENSIONS", describedExtensions), ' ');
    m_objects.eglExtensions = Environment("PLAYBACK_FAKE_EGL_EXTENSIONS", describedEGLExtensions);
    for (const std::string& missing : Split(Environment("PLAYBACK_FAKE_MISSING", ""), ',')) {
        if (missing.starts_with("tenth:")) {
            m_tenth = std::atoi(missing.c_str() + std::strlen("tenth:"));
        } else {
            m_missing.insert(missing);
        }
    }
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

void Driver::SetMissing(const std::vector<std::string>& functions)
{
    const std::lock_guard lock(m_mutex);
    m_missing = {functions.begin(), functions.end()};
}

void Driver::SetMissingTenth(int first)
{
    const std::lock_guard lock(m_mutex);
    m_tenth = first;
}

void Driver::SetVersion(const std::string& version)
{
    const std::lock_guard lock(m_mutex);
    m_objects.version = version;
}

void Driver::SetExtensions(const std::string& names)
{
    const std::lock_guard lock(m_mutex);
    m_objects.extensions = Split(names, ' ');
}

void Driver::SetEGLExtensions(const std::string& names)
{
    const std::lock_guard lock(m_mutex);
    m_objects.eglExtensions = names;
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
    if (m_missing.contains(function.name)) {
        return true;
    }
    const auto same = [&function](const Entry& entry) { return entry.function == &function; };
    const auto entries = Entries();
    return m_tenth >= 0 && (std::ranges::find_if(entries, same) - entries.begin()) % 10 == m_tenth;
}

Word Driver::Invoke(const Function& function, const Word* args)
{
    const std::lock_guard lock(m_mutex);
    std::string line = FormatInputs(function, args);
    const auto player = m_players.find(function.name);
    const Word value =
        player != m_players.end() && player->second ? player->second(Arguments(args)) : m_objects.Play(function, args);
    line += FormatResults(function, args, value);
    if (m_file.is_open()) {
        m_file << line << std::endl;
    }
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
