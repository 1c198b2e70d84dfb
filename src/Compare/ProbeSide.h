#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Compare/Image.h"
#include "Sides/Child.h"
#include "Sides/Side.h"

namespace Compare {

/// One side of a comparison: a playback-probe that replays the capture with a driver and settings of its own.
class ProbeSide {
public:
    /// Null with a reason when it cannot be started. Trouble of the replay shows when it is asked.
    static std::unique_ptr<ProbeSide> Start(const Sides::Side& side, const std::string& capture, std::string& error);

    /// Sends a request; the answers come in the order of the requests.
    void Ask(const nlohmann::ordered_json& request);
    /// Waits for an answer. Null when the process ended or does not understand: Error says which, and what it said.
    nlohmann::ordered_json Answer();
    nlohmann::ordered_json Ask(const char* what);

    /// The image with that number of the last answer; without data where it could not be had.
    Image Pixels(std::size_t index);

    /// Why there was no answer; empty otherwise.
    [[nodiscard]] const std::string& Error() const { return m_error; }
    [[nodiscard]] const Sides::Side& Side() const { return m_side; }

private:
    explicit ProbeSide(Sides::Side side) : m_side(std::move(side)) {}
    void Fail();

    Sides::Side m_side;
    std::unique_ptr<Sides::Child> m_child;
    std::string m_error;
};

} // namespace Compare
