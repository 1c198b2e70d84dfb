#include <utility>

#include "Data/Records/CallDecoder.h"
#include "Data/Records/RecordWalk.h"
#include "Data/State/StateModel.h"
#include "Tools/Info/StateText.h"

namespace Tools {

namespace {

/// A moment as a number for the model.
std::uint64_t PlaceOf(const Moment& moment)
{
    return std::uint64_t{moment.frame} << 32 | moment.call;
}

/// Follows the records of a capture and takes the states in front of calls of a frame.
class StateWalk {
public:
    StateWalk(Data::CaptureSource& source, Data::Diagnostics& diagnostics, std::uint32_t frame,
              const std::vector<std::uint32_t>& calls)
        : m_source(source), m_at(diagnostics.position), m_frame(frame), m_calls(calls),
          m_quiet(diagnostics.FileName(), nullptr), m_decoder(m_quiet)
    {
        m_decoder.SetStateModel(&m_model);
    }

    void Follow(const Data::RecordCursor& record)
    {
        const std::uint32_t id = record.Header().id;
        const bool isCall = id < m_source.Calls().size();
        while (isCall && m_at.frame + 1 == m_frame && !IsDone() && m_calls[states.size()] != 0 &&
               m_at.call >= m_calls[states.size()])
            Take();
        if (IsDone())
            return;
        lastCall = m_at.frame + 1 == m_frame ? m_at.call : 0;
        if (Data::ThreadRecord thread; record.Is(Data::RecordId::Thread) && record.Read(thread)) {
            m_thread = thread.thread;
            m_decoder.SetThread(m_thread);
        } else if (record.Is(Data::RecordId::BlockStart) || record.Is(Data::RecordId::BlockEnd)) {
            ++m_blockMarks;
        } else if (isCall && m_blockMarks != InUpload && m_source.Calls()[id].known < Data::callCount) {
            m_model.SetPlace(PlaceOf({m_at.frame + 1, m_at.call}));
            m_decoder.Decode(static_cast<Data::CallId>(m_source.Calls()[id].known), record.Record());
        }
    }

    [[nodiscard]] bool IsDone() const { return states.size() == m_calls.size(); }
    void Take()
    {
        StateSnapshot& state = states.emplace_back(TakeSnapshot(m_model));
        state.moment = {m_frame, m_calls[states.size() - 1]};
        state.thread = m_thread;
    }

    std::vector<StateSnapshot> states;
    /// Of the frame, as far as it was followed.
    std::uint32_t lastCall = 0;

private:
    /// The second state-setup block of a snapshot is no doing of the program and leaves no state behind.
    static constexpr int InUpload = 3;

    Data::CaptureSource& m_source;
    const Data::Position& m_at;
    const std::uint32_t m_frame;
    const std::vector<std::uint32_t>& m_calls;
    Data::Diagnostics m_quiet;
    Data::CallDecoder m_decoder;
    Data::StateModel m_model;
    std::uint32_t m_thread = 0;
    int m_blockMarks = 0;
};

} // namespace

std::variant<std::vector<StateSnapshot>, std::string> StatesAt(Data::CaptureSource& source,
                                                               Data::Diagnostics& diagnostics, std::uint32_t frame,
                                                               const std::vector<std::uint32_t>& calls)
{
    StateWalk walk(source, diagnostics, frame, calls);
    Data::WalkRecords(
        source, diagnostics, [&](const Data::RecordCursor& record) { walk.Follow(record); }, frame);
    const std::uint32_t frames = source.FrameCount();
    const bool isToEnd = !calls.empty() && calls.back() == 0;
    if (frame > frames + (isToEnd ? 0 : 1))
        return "has " + std::to_string(frames) + " frames, expected at least " + std::to_string(frame);
    if (isToEnd && walk.states.size() + 1 == calls.size())
        walk.Take();
    if (!walk.IsDone())
        return "frame " + std::to_string(frame) + " has " + std::to_string(walk.lastCall) +
               " calls, expected at least " + std::to_string(calls[walk.states.size()]);
    return std::move(walk.states);
}

std::variant<StateSnapshot, std::string> StateAt(Data::CaptureSource& source, Data::Diagnostics& diagnostics,
                                                 const Moment& moment)
{
    auto states = StatesAt(source, diagnostics, moment.frame, {moment.call});
    if (auto* const text = std::get_if<std::string>(&states))
        return std::move(*text);
    return std::move(std::get<std::vector<StateSnapshot>>(states).front());
}

} // namespace Tools
