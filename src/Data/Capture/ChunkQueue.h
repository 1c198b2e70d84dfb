// Reads ahead of replay.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Data/Capture/CaptureSource.h"

namespace Data {

/// How much of a capture lies in memory.
enum class Preload {
    No, ///< a few chunks ahead of replay
    All ///< everything, before the first chunk is handed out
};

/// Reads and decompresses chunks on a thread of its own, from the first Next on. Next and Recycle come from one thread.
class ChunkQueue {
public:
    /// `source` must outlive the queue, and no one else may read chunks from it meanwhile.
    /// Begins with the chunk of that number, from 0.
    ChunkQueue(CaptureSource& source, Preload preload, std::size_t firstChunk = 0);
    ~ChunkQueue();
    ChunkQueue(const ChunkQueue&) = delete;
    ChunkQueue& operator=(const ChunkQueue&) = delete;

    /// The next chunk. False after the last one, and when it cannot be read: `trouble` then says why and where.
    bool Next(Chunk& chunk, std::string& trouble);
    /// Takes memory back for later chunks.
    void Recycle(Chunk chunk);

private:
    void Run();
    [[nodiscard]] bool MayRead() const;

    CaptureSource& m_source;
    const Preload m_preload;
    const std::size_t m_firstChunk;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<Chunk> m_ready;
    std::uint64_t m_readyBytes = 0;
    std::vector<Chunk> m_spare;
    std::string m_trouble;
    bool m_isDone = false;
    bool m_stop = false;
    std::thread m_thread;
};

} // namespace Data
