#include "Recorder/Memory/WatchedBuffers.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "Recorder/Memory/FaultHandler.h"
#include "Recorder/Memory/WatchedMemory.h"
#include "Recorder/RecordCalls.h"
#include "Recorder/SpinLock.h"
#include "Recorder/Symbols/Unrecorded.h"

namespace Recorder {

std::atomic<bool> mayHaveWatchedChanges = false;
std::atomic<bool> isAnythingWatched = false;

namespace {

/// Changes are found in units of so many bytes.
constexpr std::size_t Unit = 64;
/// The same for buffers that the driver writes too: what is next to a change has to stay as it is there.
constexpr std::size_t SharedUnit = 4;

struct WatchedBuffer {
    std::weak_ptr<ShareGroup> group;
    std::uint32_t name = 0;
    std::int64_t offset = 0;
    std::unique_ptr<WatchedMemory> memory;

    [[nodiscard]] bool IsOf(Context& context) const { return group.lock() == context.group; }
};

/// For the list and all memory in it. Taken inside of the capture's lock; never held while the program's memory is
/// touched as the program does.
SpinLock lock;

/// Never destroyed: programs write until the very end.
std::vector<WatchedBuffer>& Buffers()
{
    static auto& buffers = *new std::vector<WatchedBuffer>;
    return buffers;
}

auto Find(const void* live)
{
    return std::ranges::find_if(
        Buffers(), [live](const WatchedBuffer& buffer) { return buffer.memory->Live() == live; });
}

/// Stands for the binding of a buffer in the capture: bound when first asked for, unbound at the end.
class RecordedBinding {
public:
    RecordedBinding(const Capturing& capturing, Context& context, std::uint32_t buffer)
        : m_capturing(capturing), m_context(context), m_buffer(buffer),
          m_before(context.State().BoundBuffer(GL_ARRAY_BUFFER))
    {
    }
    ~RecordedBinding() { Bind(m_before); }
    RecordedBinding(const RecordedBinding&) = delete;
    RecordedBinding& operator=(const RecordedBinding&) = delete;

    void Bind() { Bind(m_buffer); }

private:
    void Bind(std::uint32_t buffer)
    {
        if (m_context.State().BoundBuffer(GL_ARRAY_BUFFER) != buffer)
            Record::glBindBuffer(m_capturing, m_context, GL_ARRAY_BUFFER, buffer);
    }

    const Capturing& m_capturing;
    Context& m_context;
    const std::uint32_t m_buffer;
    const std::uint32_t m_before;
};

/// What is known of a buffer that was not deleted yet; null otherwise.
Data::BufferState* StateOf(const WatchedBuffer& buffer, Context& context)
{
    const auto state = context.group->buffers.find(buffer.name);
    return state != context.group->buffers.end() ? &state->second : nullptr;
}

void Publish(const Capturing& capturing, Context& context, WatchedBuffer& buffer, bool mayStayOpen)
{
    Data::BufferState* const state = StateOf(buffer, context);
    if (state == nullptr || !buffer.memory->MayHaveChanges())
        return;
    const bool isWrittenByDriver = state->isWrittenByDriver;
    RecordedBinding binding(capturing, context, buffer.name);
    const auto upload = [&](std::size_t at, const void* data, std::size_t bytes) {
        binding.Bind();
        Record::glBufferSubData(capturing, context, GL_ARRAY_BUFFER, buffer.offset + static_cast<std::int64_t>(at),
                                static_cast<std::int64_t>(bytes), data);
    };
    if (isWrittenByDriver)
        buffer.memory->TakeChanges<SharedUnit>(mayStayOpen, upload);
    else
        buffer.memory->TakeChanges<Unit>(mayStayOpen, upload);
    state->isWrittenByDriver = isWrittenByDriver; // nothing but the capture says so
}

/// False for the end of the list.
bool End(const Capturing& capturing, Context& context, std::vector<WatchedBuffer>::iterator buffer)
{
    if (buffer == Buffers().end())
        return false;
    Publish(capturing, context, *buffer, false);
    Buffers().erase(buffer);
    isAnythingWatched = !Buffers().empty();
    return true;
}

} // namespace

void* Watch(const Capturing& capturing, Context& context, std::uint32_t target, void* live) noexcept
{
    if (!capturing)
        return live;
    try {
        const std::uint32_t name = context.State().BoundBuffer(target);
        const Data::BufferState* const state = context.State().Buffer(target);
        if (state != nullptr) {
            WatchedBuffer buffer = {context.group, name, state->mappedOffset,
                                    WatchedMemory::Create(live, static_cast<std::size_t>(state->mappedBytes),
                                                          (state->mapAccess & GL_MAP_READ_BIT) != 0)};
            if (buffer.memory != nullptr) {
                void* const address = buffer.memory->Address();
                HandleFaults();
                const std::lock_guard guard(lock);
                std::erase_if(Buffers(), [](const WatchedBuffer& other) { return other.group.expired(); });
                Buffers().push_back(std::move(buffer));
                isAnythingWatched = true;
                return address;
            }
        }
    } catch (...) {
        // As without memory.
    }
    CountUnrecorded("writes to a persistently mapped buffer");
    return live;
}

bool EndWatch(const Capturing& capturing, Context& context, const void* live) noexcept
{
    const std::lock_guard guard(lock);
    return End(capturing, context, Find(live));
}

bool EndWatch(const Capturing& capturing, Context& context, std::uint32_t name) noexcept
{
    const std::lock_guard guard(lock);
    return End(capturing, context, std::ranges::find_if(Buffers(), [&](const WatchedBuffer& buffer) {
                   return buffer.name == name && buffer.IsOf(context);
               }));
}

void* WatchedInPlaceOf(void* live) noexcept
{
    const std::lock_guard guard(lock);
    const auto buffer = Find(live);
    return buffer != Buffers().end() ? buffer->memory->Address() : live;
}

bool TouchWatched(const void* address) noexcept
{
    const std::lock_guard guard(lock);
    const auto buffer = std::ranges::find_if(
        Buffers(), [address](const WatchedBuffer& watched) { return watched.memory->Contains(address); });
    if (buffer == Buffers().end() || !buffer->memory->Touch(address))
        return false;
    mayHaveWatchedChanges = true;
    return true;
}

bool OverlapsWatched(const void* memory, std::size_t bytes) noexcept
{
    const std::lock_guard guard(lock);
    return std::ranges::any_of(Buffers(),
                               [&](const WatchedBuffer& buffer) { return buffer.memory->Overlaps(memory, bytes); });
}

void PublishChanges(Context& context) noexcept
{
    const Capturing capturing;
    const std::lock_guard guard(lock);
    bool isAnyLeft = false;
    for (WatchedBuffer& buffer : Buffers()) {
        if (buffer.IsOf(context))
            Publish(capturing, context, buffer, true);
        isAnyLeft = isAnyLeft || (buffer.memory->MayHaveChanges() && !buffer.group.expired());
    }
    mayHaveWatchedChanges = isAnyLeft;
}

void TakeUpResults(Context& context) noexcept
{
    const Capturing capturing;
    const std::lock_guard guard(lock);
    for (WatchedBuffer& buffer : Buffers()) {
        const Data::BufferState* const state = buffer.IsOf(context) ? StateOf(buffer, context) : nullptr;
        if (state != nullptr && state->isWrittenByDriver) {
            Publish(capturing, context, buffer, false);
            buffer.memory->Forget();
        }
    }
}

} // namespace Recorder
