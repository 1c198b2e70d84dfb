#include "Probe/Json.h"

#include <cstdio>

namespace Probe {

std::string HashText(std::uint64_t hash)
{
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(hash));
    return text;
}

Json ToJson(const Contents& contents)
{
    if (contents.data.empty())
        return {{"problem", contents.problem}};
    return {{"components", contents.components},
            {"width", contents.width},
            {"height", contents.height},
            {"hash", HashText(contents.Hash())}};
}

Reply ToReply(Contents contents)
{
    Json json = ToJson(contents);
    json["bytes"] = contents.data.size();
    return {std::move(json), std::move(contents.data)};
}

} // namespace Probe
