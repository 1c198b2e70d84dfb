#include "Inspect/Queries/Query.h"

#include <optional>

#include "Inspect/Error.h"
#include "Inspect/Queries/Request.h"
#include "Util/Spelling.h"

namespace Inspect {

Answer Ask(Inspector& inspector, const std::string& name, const Parameters& parameters)
{
    constexpr std::span<const Query> (*Families[])() = {BufferQueries, DifferenceQueries, ExportQueries, FileQueries,
                                                        ObjectQueries, PictureQueries,    ReplayQueries, StateQueries};
    std::vector<std::string_view> names;
    for (const auto family : Families)
        for (const Query& query : family()) {
            if (name == query.name) {
                // Thumbnails are made while nobody waits for anything else.
                std::optional<Inspector::Asking> asking;
                if (!name.starts_with("thumbnail"))
                    asking.emplace(inspector);
                return query.answer({inspector, parameters});
            }
            names.emplace_back(query.name);
        }
    throw RequestError("there is no query \"" + name + "\"" + Util::Suggestion(name, names));
}

} // namespace Inspect
