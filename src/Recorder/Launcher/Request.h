// What is asked of a recording while it runs, and what is answered.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>

namespace Recorder {

enum class Command : std::int32_t {
    /// Records from the frame under way on.
    Start = 1,
    /// Makes a capture of what was recorded since Start.
    Stop,
    /// Makes a capture of some frames, whatever else is recorded.
    Snapshot,
    Status,
};

/// One packet of those that answer `playback-record ctl`: this, then the text.
namespace Answer {
inline constexpr char Data = 'd';
inline constexpr char Message = 'm';
/// Something that was asked for is not done; the text says why.
inline constexpr char Trouble = 't';
/// The last one.
inline constexpr char Done = 'e';
} // namespace Answer

/// Shared by all captures that have something to do for it: the answer is complete when the last of them lets go. May
/// be used by several threads.
class Request {
public:
    /// In the place of a connection.
    static constexpr int StandardError = -1;
    static constexpr int Nobody = -2;

    /// `frames` are those of a snapshot. Answers to `connection`, which it closes at the end.
    Request(Command command, std::uint32_t frames, int connection)
        : m_command(command), m_frames(frames), m_connection(connection)
    {
    }
    ~Request();
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;

    [[nodiscard]] Command What() const { return m_command; }
    [[nodiscard]] std::uint32_t Frames() const { return m_frames; }

    /// What was asked for.
    void Give(const std::string& data) { Send(Answer::Data, data); }
    void Say(const std::string& message) { Send(Answer::Message, message); }
    void Refuse(const std::string& why) { Send(Answer::Trouble, why); }
    /// As above, of what standard error was told already.
    void GiveQuietly(const std::string& data);

private:
    void Send(char kind, const std::string& text);

    const Command m_command;
    const std::uint32_t m_frames;
    const int m_connection;
    std::mutex m_mutex;
};

} // namespace Recorder
