#pragma once

#include <cstdint>
#include <unordered_map>

#include "Data/Records/CallArguments.h"

namespace Data {

/// Follows which framebuffer each captured context draws to, in the capture's names.
class DrawTargets {
public:
    /// To be told of each call, with the context that it belongs to. True where another framebuffer may be drawn to
    /// from now on.
    bool Follow(const CallArguments& call, std::uint32_t context);
    [[nodiscard]] std::uint32_t FramebufferOf(std::uint32_t context) const
    {
        const auto found = m_framebuffers.find(context);
        return found != m_framebuffers.end() ? found->second : 0;
    }

private:
    std::unordered_map<std::uint32_t, std::uint32_t> m_framebuffers;
};

} // namespace Data
