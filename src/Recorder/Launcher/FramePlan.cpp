#include "Recorder/Launcher/FramePlan.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Recorder {

namespace {

constexpr std::uint32_t NoEnd = Util::FrameRange::NoEnd;

} // namespace

FramePlan::FramePlan(const Wanted& wanted) : m_wanted(wanted)
{
    if (!wanted.isPaused && wanted.last == 0)
        m_recording = Part{wanted.frames, true};
}

std::string FramePlan::Start(std::uint32_t frames)
{
    if (m_recording)
        return Describe(frames) + " already";
    m_recording = Part{{frames + 1, NoEnd}};
    return {};
}

std::string FramePlan::Stop(std::uint32_t frames, const std::shared_ptr<Request>& request)
{
    if (!m_recording || m_recording->frames.first > frames + 1)
        return Describe(frames) + ": there is nothing to stop";
    Part part = *std::exchange(m_recording, std::nullopt);
    part.frames.last = std::max(frames, part.frames.first);
    part.isMain = false;
    part.request = request;
    m_snapshots.push_back(std::move(part));
    return {};
}

std::string FramePlan::Snapshot(std::uint32_t frames, const std::shared_ptr<Request>& request)
{
    const std::uint32_t count = request->Frames();
    if (m_wanted.last == 0) {
        m_snapshots.push_back({{frames + 1, frames + count}, false, request});
        return {};
    }
    if (count > m_wanted.last)
        return "only the last " + std::to_string(m_wanted.last) + " frames are kept, found " + std::to_string(count);
    m_snapshots.push_back({{FirstOfLast(frames, count), std::max(frames, 1u)}, false, request});
    return {};
}

std::string FramePlan::Describe(std::uint32_t frames) const
{
    if (m_recording && m_recording->frames.first > frames + 1)
        return "recording from frame " + std::to_string(m_recording->frames.first) + " on";
    if (m_recording)
        return "recording since frame " + std::to_string(m_recording->frames.first);
    return m_wanted.last == 0 ? "paused" : "keeping the last " + std::to_string(m_wanted.last);
}

std::uint32_t FramePlan::FirstOfLast(std::uint32_t frames, std::uint32_t count) const
{
    return frames > count ? frames - count + 1 : 1;
}

std::uint32_t FramePlan::FirstWanted(std::uint32_t frames) const
{
    std::uint32_t first = m_wanted.last == 0 ? frames + 1 : FirstOfLast(frames, m_wanted.last);
    if (m_recording)
        first = std::min(first, m_recording->frames.first);
    for (const Part& part : m_snapshots)
        first = std::min(first, part.frames.first);
    return first;
}

std::vector<Part> FramePlan::TakeComplete(std::uint32_t frames)
{
    if (m_recording && m_recording->frames.last <= frames)
        m_snapshots.push_back(*std::exchange(m_recording, std::nullopt));
    const auto ended = std::stable_partition(m_snapshots.begin(), m_snapshots.end(),
                                             [frames](const Part& part) { return part.frames.last > frames; });
    std::vector<Part> complete(std::make_move_iterator(ended), std::make_move_iterator(m_snapshots.end()));
    m_snapshots.erase(ended, m_snapshots.end());
    return complete;
}

std::vector<Part> FramePlan::TakeRest(std::uint32_t frames)
{
    std::vector<Part> rest = std::exchange(m_snapshots, {});
    if (m_recording)
        rest.push_back(*std::exchange(m_recording, std::nullopt));
    if (m_wanted.last != 0)
        rest.push_back({{FirstOfLast(frames, m_wanted.last), NoEnd}, true});
    for (Part& part : rest)
        if (part.frames.last > frames)
            part.frames.last = NoEnd;
    return rest;
}

} // namespace Recorder
