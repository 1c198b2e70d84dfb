#pragma once

#include <functional>
#include <utility>
#include <vector>

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

private:
    std::vector<std::function<void()>> m_steps;
};

} // namespace Probe
