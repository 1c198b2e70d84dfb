#include "Data/Capture/ChunkQueue.h"

#include <cinttypes>
#include <cstdio>
#include <new>
#include <span>

namespace Data {

namespace {

/// Read ahead up to this many chunks, and no further chunk when those that are ready hold this many bytes.
constexpr std::size_t MaxReady = 3;
constexpr std::uint64_t MaxReadyBytes = 32u << 20;

} // namespace

ChunkQueue::ChunkQueue(CaptureSource& source, Preload preload, std::size_t firstChunk)
    : m_source(source), m_preload(preload), m_firstChunk(firstChunk)
{
}

ChunkQueue::~ChunkQueue()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stop = true;
    }
    m_wake.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

bool ChunkQueue::MayRead() const
{
    return m_preload == Preload::All || (m_ready.size() < MaxReady && m_readyBytes < MaxReadyBytes);
}

void ChunkQueue::Run()
{
    std::unique_lock lock(m_mutex);
    for (const IndexEntry& entry : std::span(m_source.Chunks()).subspan(m_firstChunk)) {
        m_wake.wait(lock, [this] { return m_stop || MayRead(); });
        if (m_stop)
            return;
        Chunk chunk;
        if (!m_spare.empty()) {
            chunk = std::move(m_spare.back());
            m_spare.pop_back();
        }
        lock.unlock();
        std::string trouble;
        try {
            trouble = m_source.ReadChunk(entry, chunk);
        } catch (const std::bad_alloc&) {
            trouble = "there is no memory for the chunk";
        }
        lock.lock();
        if (!trouble.empty()) {
            char where[32];
            std::snprintf(where, sizeof where, "offset 0x%" PRIx64 ": ", entry.fileOffset);
            m_trouble = where + trouble;
            break;
        }
        m_readyBytes += chunk.capacity;
        m_ready.push_back(std::move(chunk));
        m_wake.notify_all();
    }
    m_isDone = true;
    m_wake.notify_all();
}

bool ChunkQueue::Next(Chunk& chunk, std::string& trouble)
{
    if (!m_thread.joinable())
        m_thread = std::thread([this] { Run(); });
    std::unique_lock lock(m_mutex);
    m_wake.wait(lock, [this] { return m_isDone || (m_preload == Preload::No && !m_ready.empty()); });
    if (m_ready.empty()) {
        trouble = m_trouble;
        return false;
    }
    chunk = std::move(m_ready.front());
    m_ready.pop_front();
    m_readyBytes -= chunk.capacity;
    m_wake.notify_all();
    return true;
}

void ChunkQueue::Recycle(Chunk chunk)
{
    const std::lock_guard lock(m_mutex);
    if (chunk.memory && chunk.capacity <= 2 * ChunkBytes && m_spare.size() < MaxReady && m_preload == Preload::No)
        m_spare.push_back(std::move(chunk));
}

} // namespace Data
