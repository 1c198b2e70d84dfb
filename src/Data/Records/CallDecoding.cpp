#include <algorithm>

#include "Data/Records/CallDecoder.h"

namespace Data {

namespace {

/// Elements that the values of a get call have room for: the live driver may know more of them than the captured one.
constexpr std::int64_t LeastParameters = 64;
/// Active uniforms that are taken to be the atomic counters of one buffer at most.
constexpr std::int64_t MostAtomicCounters = 8192;

std::int64_t OutputParameterCount(std::uint32_t pname)
{
    constexpr std::uint32_t AtomicCounterIndices = 0x92C6; // GL_ATOMIC_COUNTER_BUFFER_ACTIVE_ATOMIC_COUNTER_INDICES
    return pname == AtomicCounterIndices ? MostAtomicCounters : std::max(ParameterCount(pname), LeastParameters);
}

#include "Data/CallDecoding.inc"

} // namespace

const std::span<const CallDecoding, callCount> callDecodings(decodings);

} // namespace Data
