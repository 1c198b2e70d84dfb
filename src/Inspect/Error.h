#pragma once

#include <stdexcept>
#include <string>
#include <utility>

#include <nlohmann/json.hpp>

namespace Inspect {

/// What cannot be answered, with what to tell who asked.
class Error : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The request is wrong, or asks for what the capture has not.
class RequestError : public Error {
public:
    /// `details` are members of the answer beside the text.
    explicit RequestError(const std::string& text, nlohmann::ordered_json details = nlohmann::ordered_json::object())
        : Error(text), m_details(std::move(details))
    {
    }

    [[nodiscard]] const nlohmann::ordered_json& Details() const { return m_details; }

private:
    nlohmann::ordered_json m_details;
};

/// The driver, or the process that replays on it, failed.
class ReplayError : public Error {
    using Error::Error;
};

} // namespace Inspect
