// Counts what is in a capture, while it is written and when it is read.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "Data/Capture/SummaryCounts.h"
#include "Data/Records/CallArguments.h"
#include "Data/Records/CallTable.h"
#include "Data/State/BufferBindings.h"

namespace Data {

/// Takes the records of a capture in file order.
class SummaryCounter {
public:
    /// For a file with this call table.
    explicit SummaryCounter(const std::vector<FileCall>& calls);

    void Count(const RecordView& record);
    /// A whole chunk of records, as it is before compression. Only such chunks have their bindings and stacks
    /// noted.
    void CountChunk(std::span<const std::uint8_t> chunk);
    /// What was counted so far.
    [[nodiscard]] const SummaryCounts& Counts();

private:
    struct Call {
        std::uint64_t count = 0;
        CallId known = {};
        bool isDraw = false;
        /// Its arguments matter.
        bool isRead = false;
        bool bindsBuffers = false;

        /// It is counted, and that is all.
        [[nodiscard]] bool IsOrdinary() const { return !isDraw && !isRead && !bindsBuffers; }
    };

    void CountCall(const RecordView& record, Call& call);
    void ChargeCalls();
    void ReadCall(const CallArguments& call);
    void CountBuiltIn(const RecordView& record);
    void CountReference(const RecordView& record);
    void SetThread(std::uint32_t thread);
    void Surface(const CallArguments& call, SurfaceKind kind);
    void Size(std::uint32_t surface, std::uint32_t width, std::uint32_t height);
    void SizeFromAttribs(std::uint32_t surface, std::span<const std::uint8_t> attribs);

    SummaryCounts m_counts;
    /// By the number of the call in the file.
    std::vector<Call> m_calls;
    BufferBindings m_bindings;
    /// Calls that are still to be charged to the thread and the frame or block at work.
    std::uint64_t m_newCalls = 0;
    /// Of the thread at work, since it is.
    std::uint64_t m_threadCalls = 0;
    /// Modules and stacks of the chunk at work.
    std::uint64_t m_chunkStacks = 0;
    bool m_isInStateBlock = false;
    /// What ends the frame at work, where no swap does.
    FrameEndKind m_frameEnd = FrameEndKind::Swap;
};

} // namespace Data
