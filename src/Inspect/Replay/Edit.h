#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Inspect/Place.h"
#include "Inspect/Replay/ReplayProcess.h"

namespace Inspect {

class Inspector;

/// What is replayed otherwise than it was recorded: a shader with another source, or an experiment with draws.
struct Edit {
    /// "shader", or an experiment as Kinds has it.
    std::string kind;
    /// The draw of an experiment, as it was named and where that is; nothing for all draws of a frame.
    std::string at = {};
    std::optional<Place> place = {};
    /// Of a shader: captured name of the program, and GL_FRAGMENT_SHADER ...
    std::uint32_t program = 0;
    std::uint32_t type = 0;
    std::string source = {};

    /// "fragment shader of program 5", "skip at 57:12".
    [[nodiscard]] std::string Text() const;
};

/// What POST api/edits takes; throws Error for what it does not.
std::vector<Edit> ReadEdits(Inspector& inspector, const std::string& body);
/// One as the command line has it: "5:fragment=FILE", "skip@57:12", "scissor". Throws Error.
Edit ReadEdit(Inspector& inspector, const std::string& text);
Json ToJson(const std::vector<Edit>& edits);

/// As a replay takes them that is at the start of a frame.
Json RequestFor(const std::vector<Edit>& edits, std::uint32_t frame);
/// Throws Error where the answer to it has faults, with what is wrong at which line.
void CheckAnswer(const std::vector<Edit>& edits, const Json& answer);

} // namespace Inspect
