#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Compare/Result.h"
#include "Compare/SidePair.h"
#include "Util/Failure.h"

namespace Compare {

/// An image of an answer has the same contents on both sides.
[[nodiscard]] bool IsSameImage(const nlohmann::ordered_json& expected, const nlohmann::ordered_json& found);

/// Looks for the action of a frame after which something is another one on side B, and for what made it so.
class ActionSearch {
public:
    /// All outlive it.
    ActionSearch(const Request& request, SidePair& sides, Result& result)
        : m_request(request), m_sides(sides), m_result(result)
    {
    }

    /// Leaves what it found in the result.
    Util::Outcome Find(std::uint32_t frame);
    /// The same without a side B, by the hashes of single actions that the capture has.
    Util::Outcome FindRecorded(std::uint32_t frame);

private:
    using Json = nlohmann::ordered_json;

    Util::Outcome GoTo(std::uint32_t frame);
    /// Each action of the frame with the expected contents in front of it; the one that is furthest off is wrong.
    Util::Outcome FindByDraw(std::uint32_t frame, std::string& number);
    /// Steps to an action, or to the first wrong one where `number` is empty. Null where the frame ends.
    Util::Outcome StepTo(std::uint32_t frame, const std::string& number, WrongAction& action, bool& isThere);
    bool Judge(const SidePair::Answers& answers, WrongAction& action);
    Util::Outcome Explain(WrongAction& action);
    void FindStateDifference(WrongAction& action) const;
    Util::Outcome FindCause(WrongAction& action);

    const Request& m_request;
    SidePair& m_sides;
    Result& m_result;
};

} // namespace Compare
