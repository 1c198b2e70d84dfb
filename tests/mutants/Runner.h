#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

#include "Recording.h"

namespace Mutate {

struct Orders {
    /// Folder of the driver's libraries; empty for the system's.
    std::string driver;
    std::uint64_t firstSeed = 1;
    std::uint64_t count = 100;
    std::uint64_t jobs = 1;
    std::chrono::milliseconds limit{10'000};
    /// Where mutants are written that crash or hang, with what the program said; empty to keep none.
    std::string keep;
};

/// Replays mutants, each in a process of its own, which is a copy of this one: nothing is loaded twice.
class Runner {
public:
    Runner(const std::vector<Recording>& captures, Orders orders);
    ~Runner();
    Runner(const Runner&) = delete;
    Runner& operator=(const Runner&) = delete;

    /// Tells crashes and hangs as they come, and the sums. True when there were none.
    bool Run();

private:
    struct Job {
        std::uint64_t seed;
        std::chrono::steady_clock::time_point end;
    };
    enum class End { Fine, Crash, Hang };

    /// In a new process: makes the mutant of a seed and replays it. `log` gets each call, and is flushed.
    pid_t Start(std::uint64_t seed, const std::string& log) const;
    [[noreturn]] void Replay(std::uint64_t seed, const std::string& log) const;
    /// Waits for a process up to the time limit.
    End WaitFor(pid_t process) const;
    void Reap();
    void Judge(std::uint64_t seed, int status, bool isHang);
    /// The last call of a mutant, which is replayed once more for it.
    std::string LastCall(std::uint64_t seed) const;
    [[nodiscard]] std::string FileOf(std::uint64_t seed) const;

    const std::vector<Recording>& m_captures;
    Orders m_orders;
    std::string m_folder;
    std::map<pid_t, Job> m_running;
    /// By exit status.
    std::map<int, std::uint64_t> m_ends;
    /// By call, crashes and hangs.
    std::map<std::string, std::uint64_t> m_crashes;
    std::map<std::string, std::uint64_t> m_hangs;
};

} // namespace Mutate
