#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace Sides {

/// Where another program of the project is: beside the one that runs.
[[nodiscard]] std::string ProgramBesideThis(std::string_view name);

/// A program that runs beside this one, without a shell. Its standard input and output are connected to this object;
/// what it says on standard error is kept.
class Child {
public:
    /// `command` begins with the path of the program, `environment` is NAME=VALUE each, over what this program has.
    /// Null with a reason where it cannot be started.
    static std::unique_ptr<Child> Start(const std::vector<std::string>& command,
                                        std::span<const std::string> environment, std::string& error);
    /// Kills it where it has not been waited for.
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// False when it does not read any more.
    [[nodiscard]] bool Write(std::string_view text);
    void CloseInput();
    /// The next line of its output without the line feed; nothing after the last one. Waits for it.
    [[nodiscard]] std::optional<std::string> ReadLine();
    /// Reading waits no longer than this: the child is killed then.
    void SetDeadline(std::chrono::steady_clock::time_point deadline) { m_deadline = deadline; }
    [[nodiscard]] bool WasTooSlow() const { return m_wasTooSlow; }
    /// As many bytes of its output; fewer at the end.
    [[nodiscard]] std::vector<std::uint8_t> ReadBytes(std::size_t count);
    /// The rest of its output.
    [[nodiscard]] std::string ReadRest();
    /// Waits for its end. Its status as a shell has it: 128 and the signal where one ended it.
    int Wait();
    /// Asks it to end (SIGTERM), from any thread; Wait waits until it does.
    void Terminate() const;
    /// What it has said on standard error so far.
    [[nodiscard]] std::string Messages() const;

private:
    Child() = default;
    bool ReadMore();
    void AwaitOutput();

    std::atomic<pid_t> m_process = -1;
    int m_input = -1;
    int m_output = -1;
    /// A file without a name, since nobody reads it while the child writes.
    int m_messages = -1;
    std::string m_unread;
    std::chrono::steady_clock::time_point m_deadline = std::chrono::steady_clock::time_point::max();
    bool m_wasTooSlow = false;
};

} // namespace Sides
