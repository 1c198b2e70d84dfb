// What can be asked about a capture, by the page, by scripts through the server, and by --query. docs/inspect-api.md
// has the requests and their answers.
#pragma once

#include <map>
#include <string>
#include <utility>

#include "Inspect/Inspector.h"

namespace Inspect {

using Parameters = std::map<std::string, std::string>;

struct Answer {
    Answer(const Json& json) : body(Text(json)) {}
    Answer(std::string type, std::string body, std::map<std::string, std::string> headers = {})
        : type(std::move(type)), body(std::move(body)), headers(std::move(headers))
    {
    }

    /// A MIME type.
    std::string type = "application/json";
    std::string body;
    /// Of contents, what a browser gets as headers.
    std::map<std::string, std::string> headers = {};
};

/// Throws Error, also for a name that is none of a request.
Answer Ask(Inspector& inspector, const std::string& name, const Parameters& parameters);
/// Sets what is replayed otherwise than it was recorded, as POST api/edits does; the answer is that of "edits". Throws
/// Error.
Answer SetEdits(Inspector& inspector, const Parameters& parameters, const std::string& body);

} // namespace Inspect
