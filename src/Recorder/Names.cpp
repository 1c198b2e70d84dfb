#include "Recorder/Names.h"

#include "Recorder/RecordCalls.h"

namespace Recorder {
namespace {

constexpr std::uint32_t maxSmall = 1 << 16;

} // namespace

void NameSet::Add(std::span<const std::uint32_t> names)
{
    for (const std::uint32_t name : names) {
        if (name >= maxSmall) {
            m_large.insert(name);
            continue;
        }
        if (name >= m_small.size()) {
            m_small.resize(name + 1);
        }
        m_small[name] = true;
    }
}

void NameSet::Remove(std::span<const std::uint32_t> names)
{
    for (const std::uint32_t name : names) {
        if (name < m_small.size()) {
            m_small[name] = false;
        }
        m_large.erase(name);
    }
}

void RecordGeneration(const Capturing& capturing, Context& context, NameKind kind, std::uint32_t name) noexcept
{
    switch (kind) {
    case NameKind::Buffer:
        Record::glGenBuffers(capturing, context, 1, &name);
        break;
    case NameKind::Texture:
        Record::glGenTextures(capturing, context, 1, &name);
        break;
    case NameKind::Renderbuffer:
        Record::glGenRenderbuffers(capturing, context, 1, &name);
        break;
    case NameKind::Framebuffer:
        Record::glGenFramebuffers(capturing, context, 1, &name);
        break;
    }
}

} // namespace Recorder
