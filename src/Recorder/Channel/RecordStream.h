// What one thread appends to the capture.
#pragma once

#include <cstdint>

#include "Data/Capture/RecordWriter.h"
#include "Recorder/Channel/Layout.h"

namespace Recorder {

/// A stream of the channel, from the side that writes. Records are built by the thread that the stream belongs to, also
/// while other threads append theirs; they are part of the capture once they are committed, in the order of the
/// commits.
class RecordStream : public Data::RecordWriter {
public:
    /// `index` says which stream it is. What was appended to it before goes ahead.
    RecordStream(Channel& channel, std::uint32_t index);

    /// The number in the capture of the thread that it belongs to from here on.
    void SetThread(std::uint32_t thread);

    /// Makes what was appended part of the capture. The capture's lock is held from BeginOrder on, in which more may be
    /// appended than the ring holds, to EndOrder.
    void BeginOrder() { m_isOrdered = true; }
    [[gnu::always_inline]] void EndOrder()
    {
        Commit();
        m_isOrdered = false;
    }

    /// A record that was begun gets `bytes` bytes, `used` of which are filled. Answers where it is then; null as Begin.
    [[nodiscard]] std::uint8_t* Grow(std::uint8_t* record, std::uint64_t used, std::uint64_t bytes);

    /// The record that was begun is of a call that goes to the driver now: all but its results is there.
    [[gnu::always_inline]] void Open() { m_control.open.store(Position(m_at) + 1, std::memory_order_release); }
    /// The same for the last record that was committed.
    void OpenLast() { m_control.lastIsOpen.store(1, std::memory_order_release); }
    /// The driver has returned.
    [[gnu::always_inline]] void Close() { m_control.open.store(0, std::memory_order_release); }
    void CloseLast() { m_control.lastIsOpen.store(0, std::memory_order_release); }

private:
    std::uint8_t* PlaceElsewhere(std::uint32_t id, std::uint64_t bytes) override;
    std::uint8_t* Move(const std::uint8_t* record, std::uint64_t used, std::uint32_t id, std::uint64_t bytes);
    [[nodiscard]] bool TakeLargePlace(std::uint32_t& place);
    [[nodiscard]] bool MakeRoom(std::uint64_t bytes);
    [[nodiscard]] bool WaitForReader(std::uint32_t seen);
    [[nodiscard]] std::uint32_t Consumptions() const { return m_channel.consumptions.load(std::memory_order_acquire); }
    [[nodiscard]] std::uint64_t Position(const std::uint8_t* at) const
    {
        return m_lap + static_cast<std::uint64_t>(at - m_ring);
    }
    [[gnu::always_inline]] void Commit()
    {
        const std::uint64_t end = Position(m_at);
        if (end != m_committed)
            Publish(end);
    }
    void Publish(std::uint64_t end);
    void BeginRun();

    Channel& m_channel;
    const std::uint32_t m_index;
    StreamControl& m_control;
    std::uint8_t* const m_ring;
    /// Position of the ring's start in this lap.
    std::uint64_t m_lap = 0;
    std::uint64_t m_committed = 0;
    bool m_isOrdered = false;
};

/// Records of streams only. `picture` gives all but the header.
void PutFrameMark(RecordStream& stream, const Data::FramePictureRecord& picture, std::uint64_t timeUs);
void PutFrameDecision(RecordStream& stream, Data::FrameEndKind end, std::uint32_t frames);

} // namespace Recorder
