#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Sides/Child.h"
#include "Sides/Side.h"

namespace Inspect {

using Json = nlohmann::ordered_json;

/// JSON as text; bytes that are no UTF-8 are replaced.
std::string Text(const Json& json);

/// An answer of a replay, and the bytes that came with it.
struct ReplayAnswer {
    Json json;
    std::vector<std::uint8_t> bytes = {};
};

/// All replay processes of a capture, so that they can be ended while somebody waits for them.
class ProcessList {
public:
    /// Ends those that are there, and lets no more start. From any thread.
    void EndAll();

private:
    friend class ReplayProcess;

    std::mutex m_mutex;
    std::set<const Sides::Child*> m_children;
    bool m_hasEnded = false;
};

/// For the thread that calls it and the processes that it starts from then on: everything else goes first.
void TakeLowPriority();

/// What a replay is started with.
struct ReplaySettings {
    std::string capture;
    /// Driver and settings.
    Sides::Side side = {};
};

/// A playback-probe: it replays forwards, and a crash of the driver costs it and nothing else.
class ReplayProcess {
public:
    /// `snapshot` is where it begins; empty for the capture's start. Throws Error.
    ReplayProcess(ProcessList& list, const ReplaySettings& settings, const std::string& snapshot = {},
                  bool makesSnapshots = false);
    ~ReplayProcess();
    ReplayProcess(const ReplayProcess&) = delete;
    ReplayProcess& operator=(const ReplayProcess&) = delete;

    /// Sends a request; answers come in the order of requests.
    void Send(const Json& request);
    /// Waits for the answer. Throws Error when the process ended, and after that each time.
    ReplayAnswer Receive();
    ReplayAnswer Ask(const Json& request);

    [[nodiscard]] bool IsAlive() const { return m_end.empty(); }

private:
    [[noreturn]] void Fail();

    ProcessList& m_list;
    std::unique_ptr<Sides::Child> m_child;
    /// What it said when it ended; empty before.
    std::string m_end;
};

} // namespace Inspect
