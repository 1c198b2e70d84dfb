#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "Interfaces/GLState.h"

namespace Probe {

/// What has to be put back at the end of its life, the last one first.
class Undo {
public:
    Undo() = default;
    Undo(const Undo&) = delete;
    Undo& operator=(const Undo&) = delete;
    ~Undo()
    {
        for (auto step = m_steps.rbegin(); step != m_steps.rend(); ++step)
            (*step)();
    }
    void Add(std::function<void()> step) { m_steps.push_back(std::move(step)); }
    void Add(Core::ScopedState state)
    {
        Add([kept = std::make_shared<Core::ScopedState>(std::move(state))] { *kept = {}; });
    }

private:
    std::vector<std::function<void()>> m_steps;
};

} // namespace Probe
