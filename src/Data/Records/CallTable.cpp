#include "Data/Records/CallTable.h"

namespace Data {

namespace {

constexpr CallDescription descriptions[callCount] = {
#include "Data/CallTable.inc"
};

} // namespace

const std::span<const CallDescription, callCount> callTable(descriptions);

std::vector<FileCall> OwnCalls()
{
    std::vector<FileCall> calls;
    for (std::uint32_t id = 0; id < callCount; ++id)
        calls.push_back({descriptions[id].name, descriptions[id].signature, id});
    return calls;
}

} // namespace Data
