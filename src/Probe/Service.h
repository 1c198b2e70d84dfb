#pragma once

#include <istream>
#include <optional>
#include <string>
#include <vector>

#include "Probe/Actions/ActionSteps.h"
#include "Probe/Json.h"
#include "Probe/Replayer.h"

namespace Probe {

/// Answers requests about a replay: a JSON object on each line, and one line for each answer. Bytes follow an answer
/// that has "bytes", as many as that says. Snapshots are written with requests
/// "frame" in front of them alone. packaging/playback-probe.h2m has the requests.
class Service {
public:
    explicit Service(Replayer& replayer) : m_replayer(replayer) {}

    /// A request that is not understood is answered with "error".
    /// Bytes that belong to the request are taken from `input`.
    Reply Answer(const std::string& request, std::istream& input);

private:
    Reply Frame(std::uint32_t frame, bool wantsPictures, bool finishes);
    nlohmann::ordered_json TakePictures();
    Reply Action();
    Json Targets();
    Reply Snapshot(const std::string& file);
    Reply Pixels(std::size_t index) const;
    Reply Reference(std::size_t index) const;
    Reply Put(std::size_t index, std::istream& input);
    Reply Inputs();
    Reply Watch(const nlohmann::json& request);
    Reply Changes() const;

    Replayer& m_replayer;
    ActionSteps m_steps;
    /// An image that the last answer told of, for "pixels".
    struct Shown {
        Contents contents;
        /// Of what an action wrote: where that is, for "put".
        std::optional<Place> place = {};
        /// Of a frame, for "reference": a PNG file or nothing.
        std::vector<std::uint8_t> reference = {};
    };
    std::vector<Shown> m_shown;
};

} // namespace Probe
