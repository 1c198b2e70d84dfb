// One recorded process's capture, as the process that writes it has it.
#pragma once

#include <atomic>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <sys/types.h>
#include <thread>

#include "Recorder/Channel/Drain.h"
#include "Recorder/Launcher/Spool.h"
#include "Recorder/Launcher/WriterServer.h"

namespace Recorder {

/// How the children of playback-record ended, as it tells.
class News {
public:
    void Take(const ProcessNews& news);
    /// Waits for what is still to be told.
    [[nodiscard]] HowItEnded Of(pid_t process);

private:
    /// No status that waitpid gives for a process that has ended.
    static constexpr int Running = -1;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::map<pid_t, int> m_status;
};

/// A process that records, seen from outside.
class Process {
public:
    explicit Process(pid_t process);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    [[nodiscard]] pid_t Number() const { return m_process; }
    [[nodiscard]] bool HasEnded() const;

private:
    const pid_t m_process;
    const int m_descriptor;
};

/// The memory of a channel, made here and shared with the program.
class SharedMemory {
public:
    SharedMemory();
    ~SharedMemory();
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;

    /// Null when there is no memory.
    [[nodiscard]] Channel* Get() const { return m_channel; }
    [[nodiscard]] int Descriptor() const { return m_descriptor; }

private:
    const int m_descriptor;
    Channel* m_channel = nullptr;
};

/// One process's capture, written by a thread.
class ServedCapture {
public:
    /// `place`, `spools` and `news` are borrowed; `wake` is an event that is raised when the capture is complete.
    ServedCapture(pid_t process, std::string program, const WriterPlace& place, SpoolPlace& spools, News& news,
                  int wake);
    ~ServedCapture();
    ServedCapture(const ServedCapture&) = delete;
    ServedCapture& operator=(const ServedCapture&) = delete;

    /// Gives the program the memory and begins. False when the file cannot be made: the program then writes itself, and
    /// finds out why.
    [[nodiscard]] bool Begin(int connection, const Wanted& wanted);

    [[nodiscard]] pid_t Number() const { return m_process.Number(); }
    [[nodiscard]] bool IsDone() const { return m_isDone; }
    /// Another program has taken the place of this one in the process.
    void Replace();
    /// Sees to it that something is done soon.
    void Ask(std::shared_ptr<Request> request);
    /// Frames of the program that have ended, as far as they are written.
    [[nodiscard]] std::uint32_t Frames() const { return m_frames; }

private:
    void Run();
    void Write(Channel& channel);
    void Serve(Channel& channel);
    /// What was asked for meanwhile.
    std::vector<std::shared_ptr<Request>> TakeRequests();
    void TellFailure(const char* why) const;

    const Process m_process;
    const std::string m_program;
    const WriterPlace& m_place;
    SpoolPlace& m_spools;
    News& m_news;
    const int m_wake;
    const SharedMemory m_memory;
    std::unique_ptr<Drain> m_drain;
    std::unique_ptr<Spool> m_spool;
    std::mutex m_mutex;
    std::vector<std::shared_ptr<Request>> m_requests;
    std::atomic<std::uint32_t> m_frames = 0;
    std::atomic<bool> m_hasBegun = false;
    std::atomic<bool> m_isReplaced = false;
    std::atomic<bool> m_isDone = false;
    std::thread m_thread;
};

} // namespace Recorder
