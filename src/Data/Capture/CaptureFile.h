// A capture that is replayed: what a host opens.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Data/Capture/CaptureSource.h"
#include "Data/Capture/ChunkQueue.h"
#include "Data/Diagnostics.h"
#include "Data/Records/FrameProcessor.h"
#include "Interfaces/Data.h"

namespace Data {

/// Reads a capture and drives what is registered with it. Registered objects are not owned and must outlive replay.
/// All calls come from the replay thread; decompression runs ahead on a thread of its own.
class CaptureFile final : public CaptureFileReader {
public:
    /// Opens a capture. Null, with a reason that names the file, when nothing of it can be read: it is missing, empty,
    /// no capture, of a later version, or damaged at its start. Whatever is wrong further on goes to `report` while the
    /// capture is replayed, and ends it early.
    static std::unique_ptr<CaptureFile> Open(const std::string& path, Preload preload, Report report,
                                             std::string& error);

    [[nodiscard]] const CaptureHeader& Header() const { return m_source->Header(); }

    void SetAdapter(GLAdapter* adapter) { m_processor.Calls().SetAdapter(adapter); }
    void SetAdapter(EGLAdapter* adapter) { m_processor.Calls().SetAdapter(adapter); }
    void Add(MetaHandler* handler) { m_processor.Meta().Add(handler); }
    void Add(BlockEventHandler* handler) { m_processor.Add(handler); }
    /// Replays the calls too that had not returned when the program ended.
    void PlayUnfinished() { m_processor.PlayUnfinished(); }
    /// From frame `startFrame`, counted from 1, replays only what these threads did.
    void SetThreadFilter(std::vector<std::uint32_t> threads, std::uint32_t startFrame)
    {
        m_processor.SetThreadFilter(std::move(threads), startFrame);
    }
    void SetFrameHashHandler(FrameHashHandler* handler) { m_processor.SetFrameHashHandler(handler); }
    void SetFramePictureHandler(FramePictureHandler* handler) { m_processor.SetFramePictureHandler(handler); }
    void SetReferenceHandler(ReferenceHandler* handler) { m_processor.SetReferenceHandler(handler); }
    void SetActionHandler(ActionHandler* handler) { m_processor.SetActionHandler(handler); }
    [[nodiscard]] const Data::References& References() const { return m_processor.References(); }

    FrameProcessor* GetFrameProcessor() override { return &m_processor; }
    [[nodiscard]] std::uint32_t GetCurrentFrame() const override { return m_processor.Frames(); }
    [[nodiscard]] std::uint32_t GetFrameCount() const override { return m_source->FrameCount(); }

    [[nodiscard]] FrameProcessor::Place AtFrameEnd() const { return m_processor.AtFrameEnd(); }
    void GoTo(const FrameProcessor::Place& place) { m_processor.GoTo(place); }

    /// State of the captured context that the calls at work belong to.
    [[nodiscard]] const ContextState& Context() { return m_processor.Calls().Context(); }
    /// Follows the replay.
    [[nodiscard]] const Position& At() const { return m_diagnostics.position; }

    /// A function of the capture, how often it was called so far, and the CPU time that took on the replay thread.
    struct CallSum {
        std::string name;
        std::uint64_t count;
        /// Nanoseconds; 0 unless TimeCalls was called before.
        std::uint64_t time;
    };
    /// Those that were called at all.
    [[nodiscard]] std::vector<CallSum> CallSums() const;
    void TimeCalls() { m_processor.TimeCalls(); }
    [[nodiscard]] std::uint64_t CallCount() const { return m_processor.CallCount(); }
    /// The call at work, or the last one, with its place in the frame: "call 12, glClear"; empty before the first one.
    /// Any thread.
    [[nodiscard]] std::string CallAtWork() const;
    /// When the program ended the frame replayed last, in microseconds from the start of its recording.
    [[nodiscard]] std::uint64_t FrameTimeUs() const { return m_processor.FrameTimeUs(); }
    /// The file is damaged, or lacks its end, as far as replay came.
    [[nodiscard]] bool IsIncomplete() const { return m_processor.IsIncomplete(); }
    /// Calls that were not replayed since their record was not to be trusted.
    [[nodiscard]] std::uint64_t SkippedCalls() const { return m_diagnostics.SkippedCount(); }

private:
    CaptureFile(const std::string& path, std::unique_ptr<CaptureSource> source, Preload preload, Report report);

    Diagnostics m_diagnostics;
    std::unique_ptr<CaptureSource> m_source;
    FrameProcessor m_processor;
};

} // namespace Data
