#pragma once

#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Data/Capture/CaptureSource.h"
#include "Data/State/BufferBindings.h"
#include "Data/State/StateTable.h"
#include "Inspect/Capture/Bindings.h"
#include "Inspect/Capture/SourceHistory.h"

namespace Inspect {

/// One frame, for the timeline.
struct FrameNumbers {
    std::uint32_t calls = 0;
    std::uint32_t draws = 0;
    /// Draws, clears, blits, dispatches, copies and mipmaps.
    std::uint32_t actions = 0;
    /// Contents for buffers and textures, and vertices in client memory.
    std::uint64_t uploadBytes = 0;
    /// From the start of the recording to the frame's end, in microseconds.
    std::uint64_t timeUs = 0;
};

/// Where listing a frame begins.
struct ChunkStart {
    std::size_t chunk = 0;
    /// To be applied to fresh ones.
    std::vector<Data::BindingChange> buffers;
    Bindings bindings;
};

/// Reads a capture once, on a thread of its own, and notes what the way to each frame needs. All members may be called
/// from any thread.
class FrameIndex {
public:
    explicit FrameIndex(std::string path);
    ~FrameIndex();
    FrameIndex(const FrameIndex&) = delete;
    FrameIndex& operator=(const FrameIndex&) = delete;

    struct Frames {
        /// The calls after the last whole frame count as one more.
        std::vector<FrameNumbers> frames;
        /// The last one is no whole frame.
        bool hasRest = false;
        /// All of the capture was read.
        bool isDone = false;
        std::string trouble;
    };
    [[nodiscard]] Frames Get() const;
    /// Waits until all was read.
    void Wait() const;
    /// Waits until the frame, counted from 1, was read, and answers where it begins. Nothing when there is no such
    /// frame.
    [[nodiscard]] std::optional<ChunkStart> Find(std::uint32_t frame) const;
    /// The last label that the capture gives an object; empty for none.
    [[nodiscard]] std::string LabelOf(Data::ObjectKind kind, std::uint32_t name) const;
    using LabelMap = std::map<std::pair<Data::ObjectKind, std::uint32_t>, std::string>;
    /// All of them so far.
    [[nodiscard]] LabelMap Labels() const;

    /// What a program was linked from; waits until the place was read.
    [[nodiscard]] std::vector<Data::ShaderSource> SourcesOf(std::uint32_t program, const Place& place) const;

private:
    struct ChunkNote {
        std::vector<Data::BindingChange> buffers;
        /// At its start.
        Bindings bindings;
        std::uint32_t framesBefore = 0;
    };

    void Run();
    void Read(Data::CaptureSource& source);
    void ReadChunk(Data::CaptureSource& source, const Data::Chunk& chunk);
    void TakeCall(const Data::CallArguments& call);
    void TakeName(const Data::CallArguments& call);

    const std::string m_path;
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_grown;
    Frames m_result;
    std::vector<ChunkNote> m_chunks;
    LabelMap m_labels;
    SourceHistory m_sources;
    bool m_stop = false;

    // Of the reading thread alone.
    Data::BufferBindings m_buffers;
    Bindings m_bindings;
    FrameNumbers m_frame;
    std::uint32_t m_framesRead = 0;
    std::vector<FrameNumbers> m_new;

    std::thread m_thread;
};

} // namespace Inspect
