#include "Data/Records/CallTable.h"

namespace Data {

namespace {

constexpr CallDescription descriptions[callCount] = {
#include "Data/CallTable.inc"
};

} // namespace

const std::span<const CallDescription, callCount> callTable(descriptions);

} // namespace Data
