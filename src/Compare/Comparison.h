#pragma once

#include <cstdint>
#include <functional>

#include "Compare/Result.h"
#include "Compare/SidePair.h"
#include "Util/Failure.h"

namespace Compare {

/// Compares two replays of a capture, each by a process of its own: frame by frame, then action by action in the first
/// frame that differs, then what that action reads.
class Comparison {
public:
    /// `progress` hears of each frame.
    Comparison(Request request, std::function<void(std::uint32_t frame, std::uint32_t frames)> progress)
        : m_request(std::move(request)), m_progress(std::move(progress))
    {
    }
    Comparison(const Comparison&) = delete;
    Comparison& operator=(const Comparison&) = delete;

    Util::Outcome Run();
    [[nodiscard]] const Result& Get() const { return m_result; }

private:
    Util::Outcome CompareFrames();
    void CompareFrame(std::uint32_t frame, const SidePair::Answers& answers);
    void CompareWithRecorded(std::uint32_t frame, const nlohmann::ordered_json& answer);

    Request m_request;
    std::function<void(std::uint32_t, std::uint32_t)> m_progress;
    Result m_result;
    SidePair m_sides{m_request, m_result};
};

} // namespace Compare
