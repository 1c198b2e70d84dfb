#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "Inspect/Inspector.h"
#include "Inspect/Queries/Query.h"

namespace Inspect {

/// The most rows of a table that are answered at once.
inline constexpr std::uint32_t MostRows = 10'000;

/// What is asked of a capture. Members throw RequestError where a parameter is missing, or not as it should be.
class Request {
public:
    Request(Inspector& asked, const Parameters& parameters) : inspector(asked), m_parameters(parameters) {}

    [[nodiscard]] bool Has(const std::string& name) const { return m_parameters.contains(name); }
    /// The value, or `otherwise` where it is not given.
    [[nodiscard]] std::string Text(const std::string& name, const std::string& otherwise = {}) const;
    [[nodiscard]] std::uint32_t Number(const std::string& name, std::uint32_t otherwise) const;
    /// The same, where it must be given.
    [[nodiscard]] std::uint32_t Number(const std::string& name) const;
    /// Whether it is given, and not 0.
    [[nodiscard]] bool IsSet(const std::string& name) const { return Text(name, "0") != "0"; }
    /// One of two words, the first one where it is not given.
    [[nodiscard]] std::string OneOf(const std::string& name, const std::string& first, const std::string& second) const;
    /// The place that "at" names.
    [[nodiscard]] Place At() const;
    /// As the answer names it.
    [[nodiscard]] std::string NameOf(const Place& place) const { return inspector.NameOf(place); }

    /// With the edits, unless "edited" is 0.
    [[nodiscard]] Replays::Version Version() const;
    /// Of the driver that "side" names: a, as without it, or b.
    [[nodiscard]] Replays& Replay() const;
    /// The target that "index" names, of what a call left behind.
    [[nodiscard]] std::size_t IndexIn(const Outcome& outcome) const;
    /// What such a replay answers after the call at "at".
    [[nodiscard]] ReplayAnswer Ask(const Json& request) const { return Replay().Ask(At(), request, Version()); }
    /// The same about the object that "name" names; throws RequestError where it tells of a problem.
    [[nodiscard]] ReplayAnswer AskAbout(const char* what, Json more = Json::object()) const;
    /// Rows of the vertices of a draw; throws RequestError where it tells of a problem.
    [[nodiscard]] Json AskVertices(Json part) const;
    /// Contents that a replay answered, as Contents has them or with "format" png as a picture.
    [[nodiscard]] Answer ContentsOrPicture(const ReplayAnswer& answer) const;

    Inspector& inspector;

private:
    const Parameters& m_parameters;
};

/// Contents that a replay answered, with what their pixels are. Throws RequestError where there is a problem instead.
[[nodiscard]] Answer Contents(const ReplayAnswer& answer);
/// The program in use; 0 for none.
[[nodiscard]] std::uint32_t ProgramIn(const Tools::StateSnapshot& state);

/// How a request is answered.
struct Query {
    const char* name;
    Answer (*answer)(const Request& request);
};
// Those of all families.
std::span<const Query> BufferQueries();
std::span<const Query> DifferenceQueries();
std::span<const Query> ExportQueries();
std::span<const Query> FileQueries();
std::span<const Query> ObjectQueries();
std::span<const Query> PictureQueries();
std::span<const Query> ReplayQueries();
std::span<const Query> StateQueries();

} // namespace Inspect
