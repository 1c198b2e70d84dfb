#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <GLES3/gl32.h>

namespace Replay {

/// Named counters of the driver's hardware in one context (GL_AMD_performance_monitor), as many as the driver counts at
/// the same time. All functions need the context to be current.
class GpuCounters {
public:
    /// Of the counters that the current context has, those whose names match one of the patterns, with commas between
    /// them, as a shell has them. A name is that of its group, a colon, and its own.
    explicit GpuCounters(const std::string& patterns);

    [[nodiscard]] bool IsEmpty() const { return m_counters.empty(); }
    [[nodiscard]] std::vector<std::string> Names() const;

    /// The monitor that counts from now on, or 0.
    GLuint Start();
    void Stop(GLuint monitor);
    [[nodiscard]] bool IsAvailable(GLuint monitor) const;
    /// In the order of the names. Waits for them. The monitor is free again.
    [[nodiscard]] std::vector<double> Read(GLuint monitor);

private:
    struct Counter {
        GLuint group;
        GLuint counter;
        /// Of its value.
        GLenum type;
        std::string name;
    };

    void AddGroup(GLuint group, const std::vector<std::string>& patterns);
    GLuint Make() const;
    /// Words that a value takes, and the value that begins there.
    [[nodiscard]] static std::size_t WordsOf(GLenum type);
    [[nodiscard]] static double ValueOf(GLenum type, const GLuint* words);

    std::vector<Counter> m_counters;
    std::vector<GLuint> m_free;
};

} // namespace Replay
