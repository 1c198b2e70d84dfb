#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Compare/Image.h"
#include "Sides/Child.h"
#include "Sides/Side.h"
#include "Util/ExitStatus.h"

namespace Compare {

/// One side of a comparison: a playback-probe that replays the capture with a driver and settings of its own.
class ProbeSide {
public:
    /// Null with a reason when it cannot be started. Trouble of the replay shows when it is asked.
    static std::unique_ptr<ProbeSide> Start(const Sides::Side& side, const std::string& capture, std::string& error);

    /// Waits for no answer longer than this.
    void SetDeadline(std::chrono::steady_clock::time_point deadline) { m_child->SetDeadline(deadline); }
    /// Sends a request; the answers come in the order of the requests.
    void Ask(const nlohmann::ordered_json& request);
    /// Waits for an answer. Null when the process ended or does not understand: Error says which, and what it said.
    nlohmann::ordered_json Answer();

    /// The image with that number of the last answer; without data where it could not be had.
    Image Pixels(std::size_t index);
    /// What the capture says that the picture of a frame is to show; without data where it does not.
    Image Reference(std::size_t index);
    /// Replaces the contents of that image of the last action. False where that was not possible.
    bool Put(std::size_t index, const std::vector<std::uint8_t>& data);

    /// Why there was no answer; empty otherwise.
    [[nodiscard]] const std::string& Error() const { return m_error; }
    /// That of a program which cannot go on without the answer.
    [[nodiscard]] Util::ExitStatus Status() const { return m_status; }

private:
    explicit ProbeSide(Sides::Side side) : m_side(std::move(side)) {}
    void Fail();

    Sides::Side m_side;
    std::unique_ptr<Sides::Child> m_child;
    std::string m_error;
    Util::ExitStatus m_status = Util::ExitStatus::NoDriver;
};

} // namespace Compare
