#include "Data/State/BufferBindings.h"

#include <algorithm>
#include <utility>

namespace Data {

namespace {

constexpr auto IsTrue = static_cast<std::uint32_t>(Enum::EglTrue);

} // namespace

bool BufferBindings::Concerns(CallId call)
{
    switch (call) {
    case CallId::eglCreateContext:
    case CallId::eglMakeCurrent:
    case CallId::eglReleaseThread:
    case CallId::glBindBuffer:
    case CallId::glBindVertexArray:
    case CallId::glBindVertexArrayOES:
    case CallId::glDeleteBuffers:
    case CallId::glDeleteVertexArrays:
    case CallId::glDeleteVertexArraysOES:
        return true;
    default:
        return false;
    }
}

void BufferBindings::Follow(const CallArguments& call)
{
    switch (call.Call()) {
    case CallId::eglCreateContext:
        if (call.Returned() != 0)
            Reset(Named(call.Returned()));
        break;
    case CallId::eglMakeCurrent:
        if (call.Returned() == IsTrue)
            MakeCurrent(call.Unsigned(3));
        break;
    case CallId::eglReleaseThread:
        if (call.Returned() == IsTrue)
            MakeCurrent(0);
        break;
    case CallId::glBindBuffer:
        BindBuffer(call.Unsigned(0), call.Unsigned(1));
        break;
    case CallId::glBindVertexArray:
    case CallId::glBindVertexArrayOES:
        BindVertexArray(call.Unsigned(0));
        break;
    case CallId::glDeleteBuffers:
        call.ForEachName(2, [this](std::uint32_t buffer) {
            for (const std::uint32_t target : Targets)
                if (buffer != 0 && Bound(target) == buffer)
                    BindBuffer(target, 0);
            if (buffer != 0 && Bound(Enum::ElementArrayBuffer) == buffer)
                BindBuffer(Enum::ElementArrayBuffer, 0);
        });
        break;
    case CallId::glDeleteVertexArrays:
    case CallId::glDeleteVertexArraysOES:
        call.ForEachName(2, [this](std::uint32_t array) {
            if (array == 0)
                return;
            if (m_current->vertexArray == array)
                BindVertexArray(0);
            SetElementBuffer(*m_current, array, 0);
        });
        break;
    default:
        break;
    }
}

void BufferBindings::SetThread(std::uint32_t thread)
{
    m_thread = thread;
    const auto used = m_contextOfThread.find(thread);
    m_current = &Named(used != m_contextOfThread.end() ? used->second : 0);
}

BufferBindings::Bindings& BufferBindings::Named(std::uint32_t context)
{
    Bindings& named = m_contexts[context];
    named.name = context;
    return named;
}

void BufferBindings::MakeCurrent(std::uint32_t context)
{
    std::uint32_t& used = m_contextOfThread[m_thread];
    if (used == context)
        return;
    used = context;
    m_changedThreads.push_back(m_thread);
    m_current = &Named(context);
}

void BufferBindings::BindBuffer(std::uint32_t target, std::uint32_t buffer)
{
    if (target == Enum::ElementArrayBuffer) {
        SetElementBuffer(*m_current, m_current->vertexArray, buffer);
        return;
    }
    const auto at = static_cast<std::size_t>(std::ranges::find(Targets, target) - Targets.begin());
    if (at < Targets.size() && m_current->buffers[at] != buffer) {
        m_current->buffers[at] = buffer;
        m_current->changedTargets |= 1u << at;
    }
}

void BufferBindings::BindVertexArray(std::uint32_t array)
{
    m_current->isVertexArrayChanged |= m_current->vertexArray != array;
    m_current->vertexArray = array;
}

void BufferBindings::SetElementBuffer(Bindings& context, std::uint32_t array, std::uint32_t buffer)
{
    const auto found = context.elementBuffers.find(array);
    if (buffer == (found != context.elementBuffers.end() ? found->second.buffer : 0))
        return;
    ElementBuffer& element = found != context.elementBuffers.end() ? found->second : context.elementBuffers[array];
    element.buffer = buffer;
    if (!element.isChanged)
        context.changedElementBuffers.push_back(array);
    element.isChanged = true;
}

void BufferBindings::Reset(Bindings& context)
{
    context.isVertexArrayChanged |= context.vertexArray != 0;
    context.vertexArray = 0;
    for (std::size_t i = 0; i < Targets.size(); ++i)
        context.changedTargets |= context.buffers[i] != 0 ? 1u << i : 0;
    context.buffers = {};
    for (const auto& [array, element] : context.elementBuffers)
        SetElementBuffer(context, array, 0);
}

std::uint32_t BufferBindings::Bound(std::uint32_t target) const
{
    if (target == Enum::ElementArrayBuffer) {
        const auto element = m_current->elementBuffers.find(m_current->vertexArray);
        return element != m_current->elementBuffers.end() ? element->second.buffer : 0;
    }
    const auto at = static_cast<std::size_t>(std::ranges::find(Targets, target) - Targets.begin());
    return at < Targets.size() ? m_current->buffers[at] : 0;
}

std::vector<BindingChange> BufferBindings::TakeChanges()
{
    std::vector<BindingChange> changes;
    for (const std::uint32_t thread : m_changedThreads)
        changes.push_back({BindingKind::Context, thread, 0, m_contextOfThread[thread]});
    m_changedThreads.clear();
    for (auto& [name, context] : m_contexts) {
        if (std::exchange(context.isVertexArrayChanged, false))
            changes.push_back({BindingKind::VertexArray, name, 0, context.vertexArray});
        for (std::size_t i = 0; i < Targets.size(); ++i)
            if ((context.changedTargets >> i & 1) != 0)
                changes.push_back({BindingKind::Buffer, name, Targets[i], context.buffers[i]});
        context.changedTargets = 0;
        for (const std::uint32_t array : context.changedElementBuffers) {
            ElementBuffer& element = context.elementBuffers[array];
            changes.push_back({BindingKind::ElementBuffer, name, array, element.buffer});
            element.isChanged = false;
            if (element.buffer == 0)
                context.elementBuffers.erase(array);
        }
        context.changedElementBuffers.clear();
    }
    return changes;
}

void BufferBindings::Apply(std::span<const BindingChange> changes)
{
    for (const BindingChange& change : changes) {
        switch (change.kind) {
        case BindingKind::Context:
            m_contextOfThread[change.owner] = change.value;
            break;
        case BindingKind::VertexArray:
            Named(change.owner).vertexArray = change.value;
            break;
        case BindingKind::Buffer:
            if (const auto* const target = std::ranges::find(Targets, change.place); target != Targets.end())
                Named(change.owner).buffers[static_cast<std::size_t>(target - Targets.begin())] = change.value;
            break;
        case BindingKind::ElementBuffer:
            Named(change.owner).elementBuffers[change.place].buffer = change.value;
            break;
        }
    }
    SetThread(m_thread);
}

} // namespace Data
