#include <algorithm>

#include "Data/CallDecoder.h"

namespace Data {

namespace {

/// Elements that the values of a get call have room for: the live driver may know more of them than the captured one.
constexpr std::int64_t leastParameters = 64;

std::int64_t OutputParameterCount(std::uint32_t pname)
{
    return std::max(ParameterCount(pname), leastParameters);
}

#include "Data/CallDecoding.inc"

} // namespace

const std::span<const CallDecoding, callCount> callDecodings(decodings);

} // namespace Data
