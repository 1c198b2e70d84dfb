#include "Inspect/FrameCuts.h"

#include <cstdlib>
#include <filesystem>
#include <memory>

#include "Data/Capture/CaptureSource.h"
#include "Data/Records/RecordWalk.h"
#include "Inspect/Error.h"
#include "Inspect/ReplayProcess.h"
#include "Interfaces/Data.h"

namespace Inspect {

namespace {

constexpr std::size_t MostCuts = 8;

/// Calls up to the end of the state-setup block, and those after it.
struct CallCount {
    std::uint32_t before = 0;
    std::uint32_t after = 0;
};

CallCount CountCalls(const std::string& path)
{
    CallCount count;
    std::string error;
    const std::unique_ptr<Data::CaptureSource> source = Data::CaptureSource::Open(path, error);
    if (!source)
        return count;
    Data::Diagnostics diagnostics(path, nullptr);
    Data::WalkRecords(
        *source, diagnostics,
        [&](const Data::RecordCursor& record) {
            count.after += record.Header().id < Data::FirstBuiltInId ? 1 : 0;
            Data::BlockRecord block;
            if (record.Is(Data::RecordId::BlockEnd) && record.Read(block) &&
                block.type == static_cast<std::uint32_t>(Data::BlockType::State)) {
                count.before += count.after;
                count.after = 0;
            }
        },
        1);
    return count;
}

bool ShowsTheSame(const FrameCut& cut, const FrameCuts::Wish& wish)
{
    try {
        ReplayProcess process(cut.path, {});
        const Place place = cut.ToCut({cut.frame, wish.checkedCall});
        process.Ask({{"do", "go"}, {"frame", place.frame}, {"call", place.call}});
        const Json targets = process.Ask({{"do", "targets"}}).json.value("targets", Json::array());
        std::vector<std::string> hashes;
        for (const Json& target : targets)
            hashes.push_back(target.value("hash", ""));
        return hashes == wish.hashes;
    } catch (const Error&) {
        return false;
    }
}

} // namespace

FrameCuts::~FrameCuts()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stop = true;
        if (m_trim)
            m_trim->Terminate();
    }
    m_wake.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

void FrameCuts::Want(Wish wish)
{
    const std::lock_guard lock(m_mutex);
    if (!m_cuts.try_emplace(wish.frame).second)
        return;
    m_wishes.push_back(std::move(wish));
    if (!m_thread.joinable())
        m_thread = std::thread([this] { Run(); });
    m_wake.notify_all();
}

std::optional<FrameCut> FrameCuts::Find(std::uint32_t frame) const
{
    const std::lock_guard lock(m_mutex);
    const auto entry = m_cuts.find(frame);
    return entry != m_cuts.end() && entry->second.isReady ? std::optional(entry->second.cut) : std::nullopt;
}

void FrameCuts::Drop(std::uint32_t frame)
{
    const std::lock_guard lock(m_mutex);
    if (const auto entry = m_cuts.find(frame); entry != m_cuts.end())
        entry->second.isReady = false;
}

void FrameCuts::Run()
{
    std::unique_lock lock(m_mutex);
    while (m_folder.IsThere()) {
        m_wake.wait(lock, [this] { return m_stop || !m_wishes.empty(); });
        if (m_stop)
            return;
        const Wish wish = std::move(m_wishes.back());
        m_wishes.pop_back();
        lock.unlock();
        const std::optional<FrameCut> cut = Make(wish);
        lock.lock();
        if (cut) {
            m_cuts[wish.frame] = {*cut, true};
            m_order.push_back(wish.frame);
            RemoveOldest();
        }
    }
}

std::optional<FrameCut> FrameCuts::Make(const Wish& wish)
{
    FrameCut cut = {m_folder.File(std::to_string(wish.frame) + ".glcap"), wish.frame, 0};
    if (!Trim(cut))
        return std::nullopt;
    const CallCount count = CountCalls(cut.path);
    cut.callsBefore = count.before;
    const bool isUsable = count.before > 0 && count.after == wish.calls && ShowsTheSame(cut, wish);
    if (isUsable)
        return cut;
    std::error_code ignored;
    std::filesystem::remove(cut.path, ignored);
    return std::nullopt;
}

bool FrameCuts::Trim(const FrameCut& cut)
{
    std::string error;
    std::shared_ptr<Sides::Child> trim =
        Sides::Child::Start({Sides::ProgramBesideThis("playback-trim"), "--frames", std::to_string(cut.frame), "-o",
                             cut.path, "--", m_capture},
                            {}, error);
    if (!trim)
        return false;
    {
        const std::lock_guard lock(m_mutex);
        m_trim = trim;
        if (m_stop)
            trim->Terminate();
    }
    const bool isDone = trim->Wait() == 0;
    const std::lock_guard lock(m_mutex);
    m_trim.reset();
    return isDone && !m_stop;
}

void FrameCuts::RemoveOldest()
{
    if (m_order.size() <= MostCuts)
        return;
    const auto oldest = m_cuts.find(m_order.front());
    m_order.pop_front();
    std::error_code ignored;
    std::filesystem::remove(oldest->second.cut.path, ignored);
    m_cuts.erase(oldest);
}

} // namespace Inspect
