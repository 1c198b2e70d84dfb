#pragma once

#include <stdexcept>
#include <string>

namespace Inspect {

/// A request that cannot be answered, with what to tell who asked.
class Error : public std::runtime_error {
public:
    enum class Kind {
        Request, ///< it is wrong, or asks for what the capture has not
        Replay,  ///< the driver, or the process that replays on it, failed
    };
    Error(Kind kind, const std::string& text) : std::runtime_error(text), m_kind(kind) {}

    [[nodiscard]] Kind What() const { return m_kind; }

private:
    Kind m_kind;
};

} // namespace Inspect
