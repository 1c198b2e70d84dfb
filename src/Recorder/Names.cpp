#include "Recorder/Names.h"

#include "Recorder/RecordCalls.h"

namespace Recorder {
namespace {

constexpr std::uint32_t MaxSmall = 1 << 16;

} // namespace

void NameSet::Add(std::span<const std::uint32_t> names)
{
    for (const std::uint32_t name : names) {
        if (name >= MaxSmall) {
            m_large.insert(name);
            continue;
        }
        if (name >= m_small.size())
            m_small.resize(name + 1);
        m_small[name] = true;
    }
}

void NameSet::Remove(std::span<const std::uint32_t> names)
{
    for (const std::uint32_t name : names) {
        if (name < m_small.size())
            m_small[name] = false;
        m_large.erase(name);
    }
}

void RecordGeneration(const Capturing& capturing, Context& context, Data::ObjectKind kind, std::uint32_t name) noexcept
{
    switch (kind) {
#include "Recorder/Generation.inc"
    default:
        break;
    }
}

} // namespace Recorder
