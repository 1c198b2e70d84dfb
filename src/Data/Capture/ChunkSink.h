// The half of the writer that leaves the caller's threads: compression, checksums, the file.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <pthread.h>
#include <span>
#include <string>
#include <sys/types.h>
#include <vector>

#include "Data/Capture/CaptureHeader.h"
#include "Data/Capture/ChunkPacker.h"
#include "Data/Capture/Format.h"
#include "Data/Capture/SummaryCounter.h"

namespace Data {

/// Memory that one chunk is built in.
struct ChunkBuffer {
    struct Free {
        void operator()(std::uint8_t* memory) const;
    };
    std::unique_ptr<std::uint8_t[], Free> memory;
    std::size_t capacity = 0;
    std::size_t used = 0;
    ChunkKind kind = ChunkKind::Records;
    std::uint32_t framesBefore = 0;
    std::uint32_t frames = 0;
    std::uint64_t timeUs = 0;
    std::vector<Difference> differences;
    /// Contents of buffers, textures and the like are more of it than calls.
    bool isContents = true;
};

/// Compresses and writes chunks on a thread of its own, in the order in which they come. Take, Put, UpdateHeader and
/// Finish come from one thread at a time. Nothing throws.
///
/// The file is written only while the descriptor still names it: a program that closes descriptors it does not know
/// must not find a capture in a file of its own. It is locked (flock) for as long, so that others can tell.
class ChunkSink {
public:
    /// Null with a reason when the file cannot be created. The file then begins with the header.
    static std::unique_ptr<ChunkSink> Open(const std::string& path, const CaptureHeader& header, std::string& error);
    ~ChunkSink();
    ChunkSink(const ChunkSink&) = delete;
    ChunkSink& operator=(const ChunkSink&) = delete;

    /// A buffer of at least `bytes` bytes. Waits while too many chunks are under way. Its memory is null when
    /// there is none or writing has failed.
    ChunkBuffer Take(std::size_t bytes);
    /// Queues the chunk.
    void Put(ChunkBuffer chunk);
    /// The counts of calls are filled in at the end.
    void UpdateHeader(const CaptureHeader& header);
    /// Waits for the queue, writes summary, index and trailer, closes. False, with a reason, when something failed
    /// since Open.
    bool Finish(std::string& error);
    /// Closes the descriptor in the child of a fork. Destroying the object would wait for a thread that is not there,
    /// so the caller lets it leak.
    void Abandon();
    [[nodiscard]] bool Failed() const { return m_failed.load(std::memory_order_acquire); }
    /// What failed first and why; for after Failed.
    [[nodiscard]] const char* Error() const { return m_error.c_str(); }

private:
    ChunkSink() = default;
    static void* ThreadMain(void* self);
    bool StartThread();
    void Run();
    void StopThread();
    bool WriteChunk(ChunkBuffer& chunk);
    void CountChunk(const ChunkBuffer& chunk);
    bool WriteSummary();
    bool WriteIndex();
    void WriteCounts();
    bool WriteBody(ChunkKind kind, std::span<const std::uint8_t> body);
    bool WriteAt(const void* data, std::size_t bytes, std::uint64_t offset);
    void Recycle(ChunkBuffer chunk);
    bool Fail(const char* what, int errorNumber);

    std::string m_path;
    int m_fd = -1;
    dev_t m_device = 0;
    ino_t m_inode = 0;
    std::uint64_t m_fileBytes = 0;
    CaptureHeader m_header;
    std::optional<ChunkPacker> m_packer;
    Scratch m_stored;
    std::vector<IndexEntry> m_index;
    /// None once there was no memory for it: the file then has no summary.
    std::optional<SummaryCounter> m_summary;

    std::atomic<bool> m_failing = false;
    /// Set once m_error is there to be read.
    std::atomic<bool> m_failed = false;
    std::string m_error;

    pthread_t m_thread{};
    bool m_running = false;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<ChunkBuffer> m_queue;
    std::vector<ChunkBuffer> m_spare;
    /// Chunks taken and not yet written.
    unsigned m_underWay = 0;
    bool m_stop = false;
};

} // namespace Data
