#include "Recorder/Memory/WatchedMemory.h"

#include <algorithm>
#include <sys/mman.h>
#include <unistd.h>

namespace Recorder {
namespace {

/// Each piece of memory with an access of its own is one of 65530 that a process may have by default.
constexpr std::size_t MaxBlocks = 8192;
/// Most that a program gets at once when it writes on and on.
constexpr std::size_t MaxBytesAhead = 1 << 20;

std::size_t PageBytes()
{
    return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

std::size_t RoundUp(std::size_t bytes, std::size_t unit)
{
    return (bytes + unit - 1) / unit * unit;
}

/// Null on failure.
std::uint8_t* Map(std::size_t bytes, int access, int flags, int file)
{
    void* const memory = mmap(nullptr, bytes, access, flags, file, 0);
    return memory != MAP_FAILED ? static_cast<std::uint8_t*>(memory) : nullptr;
}

} // namespace

std::unique_ptr<WatchedMemory> WatchedMemory::Create(void* live, std::size_t bytes, bool isRead) noexcept
{
    try {
        const std::size_t lead = reinterpret_cast<std::uintptr_t>(live) % PageBytes();
        std::unique_ptr<WatchedMemory> memory(new WatchedMemory(lead, bytes, isRead));
        memory->m_live = static_cast<std::uint8_t*>(live) - lead;
        return memory->Allocate() ? std::move(memory) : nullptr;
    } catch (...) {
        return nullptr;
    }
}

WatchedMemory::WatchedMemory(std::size_t lead, std::size_t bytes, bool isRead)
    : m_begin(lead), m_end(lead + bytes), m_blockBytes(PageBytes()), m_isRead(isRead),
      m_bytes(RoundUp(lead + bytes, PageBytes()))
{
    while (m_bytes / m_blockBytes > MaxBlocks)
        m_blockBytes *= 2;
    m_states.assign(RoundUp(m_bytes, m_blockBytes) / m_blockBytes, State::Stale);
}

WatchedMemory::~WatchedMemory()
{
    for (std::uint8_t* const memory : {m_program, m_open, m_known})
        if (memory != nullptr)
            munmap(memory, m_bytes);
}

bool WatchedMemory::Allocate()
{
    const int file = memfd_create("playback-record", MFD_CLOEXEC);
    if (file < 0)
        return false;
    if (ftruncate(file, static_cast<off_t>(m_bytes)) == 0) {
        m_program = Map(m_bytes, PROT_NONE, MAP_SHARED, file);
        m_open = Map(m_bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file);
        m_known = Map(m_bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1);
    }
    close(file);
    return m_program != nullptr && m_open != nullptr && m_known != nullptr;
}

WatchedMemory::Range WatchedMemory::BytesOf(const Range& blocks) const
{
    return {std::max(blocks.begin * m_blockBytes, m_begin), std::min(blocks.end * m_blockBytes, m_end)};
}

bool WatchedMemory::Protect(const Range& blocks, int access)
{
    const std::size_t begin = blocks.begin * m_blockBytes;
    return mprotect(m_program + begin, std::min(blocks.end * m_blockBytes, m_bytes) - begin, access) == 0;
}

bool WatchedMemory::Raise(const Range& blocks, State state)
{
    for (std::size_t block = blocks.begin; block < blocks.end; ++block) {
        if (m_states[block] == State::Stale) {
            const Range bytes = BytesOf({block, block + 1});
            std::memcpy(m_known + bytes.begin, m_live + bytes.begin, bytes.end - bytes.begin);
            std::memcpy(m_open + bytes.begin, m_known + bytes.begin, bytes.end - bytes.begin);
        }
    }
    if (!Protect(blocks, state == State::Dirty ? PROT_READ | PROT_WRITE : PROT_READ))
        return false;
    for (std::size_t block = blocks.begin; block < blocks.end; ++block) {
        m_dirtyBlocks += state == State::Dirty && m_states[block] != State::Dirty ? 1 : 0;
        m_states[block] = state;
    }
    m_isTouched = true;
    m_quietTakes = 0;
    return true;
}

bool WatchedMemory::Touch(const void* address) noexcept
{
    const std::size_t block =
        static_cast<std::size_t>(static_cast<const std::uint8_t*>(address) - m_program) / m_blockBytes;
    const State before = m_states[block];
    if (before == State::Dirty)
        return true; // another thread was here first
    const State state = before == State::Stale && m_isRead ? State::Clean : State::Dirty;
    // Programs mostly go on where they are: the further one has come, the more blocks it gets at once.
    Range blocks = {block, block + 1};
    const std::size_t most = MaxBytesAhead / m_blockBytes;
    for (std::size_t back = block; back > 0 && m_states[back - 1] >= state && block - back < most; --back)
        if (blocks.end < m_states.size() && m_states[blocks.end] < state)
            ++blocks.end;
    // Where the system has no more pieces of memory to give, all of it becomes one.
    return Raise(blocks, state) || Raise({0, m_states.size()}, State::Dirty);
}

std::size_t WatchedMemory::FindDirty(std::size_t begin) const
{
    const State* const states = m_states.data();
    const std::size_t count = m_states.size();
    const void* const found = std::memchr(states + begin, static_cast<int>(State::Dirty), count - begin);
    return found != nullptr ? static_cast<std::size_t>(static_cast<const State*>(found) - states) : count;
}

bool WatchedMemory::NextDirty(Range& range, bool staysOpen) noexcept
{
    Range blocks = {FindDirty(RoundUp(range.end, m_blockBytes) / m_blockBytes), 0};
    if (blocks.begin == m_states.size())
        return false;
    blocks.end = blocks.begin;
    while (blocks.end < m_states.size() && m_states[blocks.end] == State::Dirty)
        ++blocks.end;
    if (!staysOpen && Protect(blocks, PROT_READ)) {
        std::fill(m_states.data() + blocks.begin, m_states.data() + blocks.end, State::Clean);
        m_dirtyBlocks -= blocks.end - blocks.begin;
    }
    range = BytesOf(blocks);
    return true;
}

void WatchedMemory::Forget() noexcept
{
    const Range all = {0, m_states.size()};
    if (m_isTouched && m_dirtyBlocks == 0 && Protect(all, PROT_NONE)) {
        std::fill(m_states.begin(), m_states.end(), State::Stale);
        m_isTouched = false;
    }
}

} // namespace Recorder
