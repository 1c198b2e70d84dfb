#include "Replay/Timing/GpuCounters.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include <GLES2/gl2ext.h>
#include <fnmatch.h>

#include "Interfaces/Core.h"
#include "Interfaces/GLState.h"
#include "Interfaces/Util.h"

namespace Replay {

namespace {

using Core::KHRLayer;

bool HasFunctions()
{
    const Core::GLESExtProcTable& gl = KHRLayer::GLESExtProc();
    return gl.glGetPerfMonitorGroupsAMD && gl.glGetPerfMonitorCountersAMD && gl.glGetPerfMonitorGroupStringAMD &&
           gl.glGetPerfMonitorCounterStringAMD && gl.glGetPerfMonitorCounterInfoAMD && gl.glGenPerfMonitorsAMD &&
           gl.glSelectPerfMonitorCountersAMD && gl.glBeginPerfMonitorAMD && gl.glEndPerfMonitorAMD &&
           gl.glGetPerfMonitorCounterDataAMD;
}

/// What `ask` writes to memory of the length that it is given; it is asked for the length first.
template <class Ask> std::string Text(Ask ask)
{
    GLsizei length = 0;
    ask(0, &length, nullptr);
    // Drivers count the zero byte or do not.
    std::string text(static_cast<std::size_t>(std::clamp(length, 0, 1024)) + 1, '\0');
    ask(static_cast<GLsizei>(text.size()), &length, text.data());
    return text.c_str();
}

GLuint DataWord(GLuint monitor, GLenum name)
{
    GLuint value = 0;
    GLint bytes = 0;
    KHRLayer::GLESExtProc().glGetPerfMonitorCounterDataAMD(monitor, name, sizeof value, &value, &bytes);
    return value;
}

} // namespace

GpuCounters::GpuCounters(const std::string& patterns)
{
    if (!HasFunctions() || !Core::HasExtension(KHRLayer::GLESProc(), "GL_AMD_performance_monitor"))
        return;
    const auto getGroups = KHRLayer::GLESExtProc().glGetPerfMonitorGroupsAMD;
    GLint count = 0;
    getGroups(&count, 0, nullptr);
    std::vector<GLuint> groups(static_cast<std::size_t>(std::max(count, 0)));
    getGroups(&count, static_cast<GLsizei>(groups.size()), groups.data());
    for (const GLuint group : groups)
        AddGroup(group, Util::String::Tokenize(patterns, ","));
}

void GpuCounters::AddGroup(GLuint group, const std::vector<std::string>& patterns)
{
    const Core::GLESExtProcTable& gl = KHRLayer::GLESExtProc();
    const std::string groupName = Text([&](GLsizei room, GLsizei* length, GLchar* text) {
        gl.glGetPerfMonitorGroupStringAMD(group, room, length, text);
    });
    GLint count = 0;
    GLint mostActive = 0;
    gl.glGetPerfMonitorCountersAMD(group, &count, &mostActive, 0, nullptr);
    std::vector<GLuint> counters(static_cast<std::size_t>(std::max(count, 0)));
    gl.glGetPerfMonitorCountersAMD(group, &count, &mostActive, static_cast<GLsizei>(counters.size()), counters.data());
    GLint active = 0;
    for (const GLuint counter : counters) {
        const std::string name = groupName + ":" + Text([&](GLsizei room, GLsizei* length, GLchar* text) {
                                     gl.glGetPerfMonitorCounterStringAMD(group, counter, room, length, text);
                                 });
        const bool isWanted = std::ranges::any_of(
            patterns, [&](const std::string& pattern) { return fnmatch(pattern.c_str(), name.c_str(), 0) == 0; });
        if (!isWanted || active == mostActive)
            continue;
        ++active;
        GLenum type = GL_UNSIGNED_INT;
        gl.glGetPerfMonitorCounterInfoAMD(group, counter, GL_COUNTER_TYPE_AMD, &type);
        m_counters.push_back({group, counter, type, name});
    }
}

std::vector<std::string> GpuCounters::Names() const
{
    std::vector<std::string> names;
    for (const Counter& counter : m_counters)
        names.push_back(counter.name);
    return names;
}

GLuint GpuCounters::Make() const
{
    GLuint monitor = 0;
    KHRLayer::GLESExtProc().glGenPerfMonitorsAMD(1, &monitor);
    for (const Counter& counter : m_counters) {
        GLuint number = counter.counter;
        KHRLayer::GLESExtProc().glSelectPerfMonitorCountersAMD(monitor, GL_TRUE, counter.group, 1, &number);
    }
    return monitor;
}

GLuint GpuCounters::Start()
{
    if (IsEmpty())
        return 0;
    if (m_free.empty())
        m_free.push_back(Make());
    const GLuint monitor = m_free.back();
    m_free.pop_back();
    KHRLayer::GLESExtProc().glBeginPerfMonitorAMD(monitor);
    return monitor;
}

void GpuCounters::Stop(GLuint monitor)
{
    if (monitor != 0)
        KHRLayer::GLESExtProc().glEndPerfMonitorAMD(monitor);
}

bool GpuCounters::IsAvailable(GLuint monitor) const
{
    return monitor == 0 || DataWord(monitor, GL_PERFMON_RESULT_AVAILABLE_AMD) != 0;
}

std::vector<double> GpuCounters::Read(GLuint monitor)
{
    std::vector<double> values;
    if (monitor == 0)
        return values;
    values.resize(m_counters.size());
    std::vector<GLuint> words(DataWord(monitor, GL_PERFMON_RESULT_SIZE_AMD) / sizeof(GLuint));
    GLint bytes = 0;
    KHRLayer::GLESExtProc().glGetPerfMonitorCounterDataAMD(
        monitor, GL_PERFMON_RESULT_AMD, static_cast<GLsizei>(words.size() * sizeof(GLuint)), words.data(), &bytes);
    words.resize(std::min(words.size(), static_cast<std::size_t>(std::max(bytes, 0)) / sizeof(GLuint)));
    // Group, counter and value of each, in an order that is the driver's.
    for (std::size_t at = 0; at + 2 < words.size();) {
        const auto found = std::ranges::find_if(m_counters, [&](const Counter& counter) {
            return counter.group == words[at] && counter.counter == words[at + 1];
        });
        at += 2;
        if (found == m_counters.end() || at + WordsOf(found->type) > words.size())
            break;
        values[static_cast<std::size_t>(found - m_counters.begin())] = ValueOf(found->type, &words[at]);
        at += WordsOf(found->type);
    }
    m_free.push_back(monitor);
    return values;
}

std::size_t GpuCounters::WordsOf(GLenum type)
{
    return type == GL_UNSIGNED_INT64_AMD ? 2 : 1;
}

double GpuCounters::ValueOf(GLenum type, const GLuint* words)
{
    if (type == GL_UNSIGNED_INT64_AMD) {
        std::uint64_t value = 0;
        std::memcpy(&value, words, sizeof value);
        return static_cast<double>(value);
    }
    return type == GL_UNSIGNED_INT ? static_cast<double>(*words) : static_cast<double>(std::bit_cast<float>(*words));
}

} // namespace Replay
