#include "Data/Records/CallTable.h"

namespace Data {

namespace {

constexpr CallDescription Descriptions[callCount] = {
#include "Data/CallTable.inc"
};

} // namespace

const std::span<const CallDescription, callCount> callTable(Descriptions);

std::vector<FileCall> OwnCalls()
{
    std::vector<FileCall> calls;
    for (std::uint32_t id = 0; id < callCount; ++id)
        calls.push_back({Descriptions[id].name, Descriptions[id].signature, id});
    return calls;
}

} // namespace Data
