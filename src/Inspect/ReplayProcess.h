#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Sides/Child.h"

namespace Inspect {

using Json = nlohmann::ordered_json;

/// An answer of a replay, and the bytes that came with it.
struct ReplayAnswer {
    Json json;
    std::vector<std::uint8_t> bytes = {};
};

/// A playback-probe: it replays forwards, and a crash of the driver costs it and nothing else.
class ReplayProcess {
public:
    /// Throws Error. `driver` is the folder of the driver's libraries; empty for the system's.
    ReplayProcess(const std::string& capture, const std::string& driver);

    /// Sends a request; answers come in the order of requests.
    void Send(const Json& request);
    /// Waits for the answer. Throws Error when the process ended, and after that each time.
    ReplayAnswer Receive();
    ReplayAnswer Ask(const Json& request);

    [[nodiscard]] bool IsAlive() const { return m_end.empty(); }
    /// What it said when it ended; empty before.
    [[nodiscard]] const std::string& End() const { return m_end; }

private:
    [[noreturn]] void Fail();

    std::unique_ptr<Sides::Child> m_child;
    std::string m_end;
};

} // namespace Inspect
