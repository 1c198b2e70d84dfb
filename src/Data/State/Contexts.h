// Which thread of a recorded program uses which context, and which contexts share their objects.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <utility>

namespace Data {

/// Contexts by their names: captured ones, or the handles of a program that is being recorded. A `Context` is made from
/// its name and its share group, a shared pointer to a `Group`. Calls without a context of their own belong to `none`,
/// which is never shared.
template <class Context, class Group, class Name = std::uint32_t> class Contexts {
public:
    using Pointer = std::shared_ptr<Context>;

    explicit Contexts(Pointer none) : m_none(std::move(none)), m_current(m_none.get()) {}

    /// The thread that the calls come from, from now on.
    void SetThread(std::uint32_t thread)
    {
        m_thread = thread;
        const auto at = m_threads.find(thread);
        m_current = at != m_threads.end() ? at->second.get() : m_none.get();
    }
    [[nodiscard]] std::uint32_t Thread() const { return m_thread; }
    [[nodiscard]] Context& Current() const { return *m_current; }
    [[nodiscard]] bool HasCurrent() const { return m_current != m_none.get(); }

    /// A context shares with none when `shareName` is not there. A name that is still in use stands for the new one;
    /// threads keep the one that they use.
    Context& Create(Name name, Name shareName)
    {
        const auto shared = m_contexts.find(shareName);
        auto made = std::make_shared<Context>(name, shared != m_contexts.end() ? shared->second->group
                                                                               : std::make_shared<Group>());
        return *(m_contexts[name] = std::move(made));
    }
    /// As Create, with a group of its own, for the threads too that use the context whose name it was.
    void Renew(Name name)
    {
        const Pointer before = Share(name);
        Create(name, Name());
        for (auto& [thread, used] : m_threads)
            if (used == before)
                used = m_contexts[name];
        SetThread(m_thread);
    }
    /// Threads that use the context keep it until they let go of it.
    void Destroy(Name name) { m_contexts.erase(name); }
    /// 0 lets go of the context that the thread uses. A context whose creation was not seen shares with none.
    void MakeCurrent(Name name)
    {
        if (name == Name()) {
            Use(nullptr);
        } else if (!HasCurrent() || m_current->name != name) {
            if (!m_contexts.contains(name))
                Create(name, Name());
            Use(m_contexts[name]);
        }
    }
    /// The thread uses this context from now on, whether its name still stands for it or not; null for none.
    void Use(Pointer context)
    {
        if (context)
            m_threads[m_thread] = std::move(context);
        else
            m_threads.erase(m_thread);
        SetThread(m_thread);
    }

    /// Null for a name that stands for no context.
    [[nodiscard]] Pointer Share(Name name) const
    {
        const auto known = m_contexts.find(name);
        return known != m_contexts.end() ? known->second : nullptr;
    }
    [[nodiscard]] Context* Find(Name name) const { return Share(name).get(); }
    /// By name: those that were not destroyed.
    [[nodiscard]] const std::unordered_map<Name, Pointer>& All() const { return m_contexts; }
    [[nodiscard]] bool IsUsed(const Context& context) const
    {
        for (const auto& [thread, used] : m_threads)
            if (used.get() == &context)
                return true;
        return false;
    }

private:
    std::unordered_map<Name, Pointer> m_contexts;
    /// Only threads that use one.
    std::unordered_map<std::uint32_t, Pointer> m_threads;
    Pointer m_none;
    Context* m_current;
    std::uint32_t m_thread = 0;
};

} // namespace Data
