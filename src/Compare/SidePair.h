#pragma once

#include <chrono>
#include <memory>
#include <optional>

#include <nlohmann/json.hpp>

#include "Compare/ProbeSide.h"
#include "Compare/Result.h"
#include "Util/Failure.h"

namespace Compare {

/// Two replays of one capture that do the same at the same time.
class SidePair {
public:
    /// Both outlive it.
    SidePair(const Request& request, Result& result) : m_request(request), m_result(result) {}

    /// Starts both anew, in front of the first frame.
    Util::Outcome Start();

    struct Answers {
        nlohmann::ordered_json expected;
        /// The same one where there is no side B.
        nlohmann::ordered_json found;
        [[nodiscard]] bool AreThere() const { return expected.is_object() && found.is_object(); }
    };
    /// Asks both, which work on the answers at the same time.
    Answers Ask(const nlohmann::ordered_json& request);
    /// Why there were no answers.
    [[nodiscard]] Util::Outcome Trouble() const;

    /// Fetches an image of the last answers from both and compares them.
    Difference Measure(std::size_t index, Image& expected, Image& found);
    /// The same of the picture of a frame and what the capture says that it is to show.
    Difference MeasureReference(std::size_t index, Image& expected, Image& found);
    /// Fetches an image of the last answers, as it was found.
    Image Found(std::size_t index) { return (m_b ? m_b : m_a)->Pixels(index); }
    /// Writes the expected image of the last action over what was found. False where that was not possible.
    bool PutExpected(std::size_t index, const Image& expected);

private:
    const Request& m_request;
    Result& m_result;
    std::unique_ptr<ProbeSide> m_a;
    /// Null where the recording is what is expected.
    std::unique_ptr<ProbeSide> m_b;
    /// That of the request, from the first start on.
    std::optional<std::chrono::steady_clock::time_point> m_deadline;
};

} // namespace Compare
