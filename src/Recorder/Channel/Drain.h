// Takes the records out of a channel and writes them to a capture.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Data/CallIds.h"
#include "Data/Capture/CaptureHeader.h"
#include "Data/Capture/CaptureWriter.h"
#include "Recorder/Channel/Layout.h"
#include "Recorder/Channel/UndecidedFrames.h"

namespace Recorder {

/// How a program ended that did not finish its capture.
struct HowItEnded {
    Data::ProgramEndKind kind = Data::ProgramEndKind::Unknown;
    std::uint32_t value = 0;
};

/// The side of a channel that reads, for one thread. What is in the channel is not believed: programs overwrite memory
/// that is not theirs.
class Drain {
public:
    Drain(Channel& channel, std::unique_ptr<Data::CaptureWriter> writer);
    ~Drain();
    Drain(const Drain&) = delete;
    Drain& operator=(const Drain&) = delete;

    /// Takes what was committed. False when there was nothing.
    bool Take();
    /// Takes the rest and finishes the file. Of a program that did not finish its capture, the calls that it was in are
    /// written as such, and `how`.
    void Finish(const HowItEnded& how);
    /// Frames that have ended.
    [[nodiscard]] std::uint32_t Frames() const { return m_output.Frames(); }
    /// A thread of the program is in this call.
    [[nodiscard]] bool IsIn(Data::CallId call) const;
    /// The capture that frames are cut out of, for the headers of the file and of those that follow.
    void NameOrigin(const std::string& origin);
    /// Finishes the file, and goes on in another one.
    void ContinueIn(std::unique_ptr<Data::CaptureWriter> writer, const std::string& origin);
    /// In the child of a fork: lets go of the file.
    void Abandon() noexcept { m_writer.release()->Abandon(); }

private:
    bool TakeRun(std::uint64_t end);
    std::uint64_t TakePlain(std::uint64_t position, std::uint64_t end);
    std::uint64_t TakeOne(std::uint64_t position, std::uint64_t end);
    [[nodiscard]] const std::uint8_t* RecordAt(std::uint32_t stream, std::uint64_t position, std::uint64_t end,
                                               std::uint64_t& bytes);
    void Append(const std::uint8_t* record);
    void AppendFrameMark(const std::uint8_t* record);
    void AppendCall(const std::uint8_t* record);
    void AppendUnfinished(std::uint32_t stream);
    void AppendLastFrame();
    void AppendNotes();
    void UpdateHeader();
    void WriteHeader();
    void CheckFailure();

    Channel& m_channel;
    std::unique_ptr<Data::CaptureWriter> m_writer;
    UndecidedFrames m_output;
    Run m_run = {};
    std::uint64_t m_runsRead = 0;
    std::uint32_t m_headerVersion = 0;
    /// The program's, and what the files name as their origin once that is not empty.
    Data::CaptureHeader m_header;
    std::string m_origin;
    /// Frames in the files in front of this one.
    std::uint32_t m_framesInFront = 0;
    /// By note: how often earlier files said it.
    std::array<std::uint64_t, MaxNotes> m_noted = {};
    /// By stream: what waits for the call that it goes with, so that nothing of another thread comes in between.
    std::array<std::vector<std::uint8_t>, MaxStreams> m_ahead;
};

} // namespace Recorder
