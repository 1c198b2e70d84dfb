#pragma once

#include <stdexcept>
#include <string>
#include <utility>

#include <nlohmann/json.hpp>

namespace Inspect {

/// A request that cannot be answered, with what to tell who asked.
class Error : public std::runtime_error {
public:
    enum class Kind {
        Request, ///< it is wrong, or asks for what the capture has not
        Replay,  ///< the driver, or the process that replays on it, failed
    };
    /// `details` are members of the answer beside the text.
    Error(Kind kind, const std::string& text, nlohmann::ordered_json details = nlohmann::ordered_json::object())
        : std::runtime_error(text), m_kind(kind), m_details(std::move(details))
    {
    }

    [[nodiscard]] Kind What() const { return m_kind; }
    [[nodiscard]] const nlohmann::ordered_json& Details() const { return m_details; }

private:
    Kind m_kind;
    nlohmann::ordered_json m_details;
};

} // namespace Inspect
