// What the calls of a capture have set up to one of them, in the names of the Khronos headers.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <nlohmann/json.hpp>

#include "Data/Capture/CaptureSource.h"
#include "Data/Diagnostics.h"

namespace Data {
class StateModel;
}

namespace Tools {

/// A call of a capture: before call `call` of frame `frame`, both from 1; after the frame's last call where it is 0.
struct Moment {
    std::uint32_t frame = 0;
    std::uint32_t call = 0;
};

/// "F:C", or "F" for the end of frame F. Frame 0 for other text.
Moment ParseMoment(std::string_view text);

/// The values that the current context and the objects it can name had at a moment: those that a call set.
struct StateSnapshot {
    Moment moment;
    std::uint32_t thread = 0;
    std::uint32_t context = 0; ///< 0: none is current
    /// Kind of object and its name, such as {"textures", "5"}; both empty for the context itself.
    using Object = std::pair<std::string, std::string>;
    using Values = std::map<std::string, nlohmann::ordered_json>;
    std::map<Object, Values> objects;
    /// The calls that set these values last. None for labels.
    std::map<Object, std::map<std::string, Moment>> setters;
    /// Values that a context or an object of a kind has at the start, as far as they are known.
    std::map<std::string, Values> initial;
};

/// Follows a capture up to a moment. What is wrong with the moment, or with the file before it, is said in its place.
std::variant<StateSnapshot, std::string> StateAt(Data::CaptureSource& source, Data::Diagnostics& diagnostics,
                                                 const Moment& moment);

/// The same for several calls of a frame, each once and in their order, on one way through the capture.
std::variant<std::vector<StateSnapshot>, std::string> StatesAt(Data::CaptureSource& source,
                                                               Data::Diagnostics& diagnostics, std::uint32_t frame,
                                                               const std::vector<std::uint32_t>& calls);

/// The values of the model's current context, for those who follow calls themselves.
StateSnapshot TakeSnapshot(Data::StateModel& model);

struct StateDifference {
    StateSnapshot::Object object;
    std::string state;
    /// Null where it is not known: nothing had set it, or the object was not there.
    nlohmann::ordered_json before;
    nlohmann::ordered_json after;
};
/// In the order of objects and names.
std::vector<StateDifference> Compare(const StateSnapshot& before, const StateSnapshot& after);

nlohmann::ordered_json ToJson(const StateSnapshot& snapshot);
nlohmann::ordered_json ToJson(const std::vector<StateDifference>& differences);
/// A line for each difference.
std::string ToText(const std::vector<StateDifference>& differences);

} // namespace Tools
