#include "Inspect/Replay/Snapshots.h"

#include <algorithm>
#include <filesystem>

#include "Inspect/Error.h"

namespace Inspect {

namespace {

/// Replay between two snapshots along the capture takes so long at first; each time that there are too many, twice as
/// long.
constexpr std::chrono::milliseconds Spacing{150};
constexpr std::size_t MostSnapshots = 256;
constexpr std::uint64_t MostBytes = std::uint64_t{512} << 20;
/// Of the frames that were looked at last.
constexpr std::size_t MostWished = 8;

/// A frame that is looked at for less than this is only passed by.
constexpr std::chrono::milliseconds PassingBy{150};

/// With all drawing, so that it takes its time.
Json ToFrame(std::uint32_t frame, bool wantsPictures)
{
    return {{"do", "frame"}, {"frame", frame}, {"pictures", wantsPictures}, {"finish", true}};
}

} // namespace

std::vector<std::string> HashesOf(const Json& images)
{
    std::vector<std::string> hashes;
    for (const Json& image : images)
        hashes.push_back(image.value("hash", ""));
    return hashes;
}

Snapshot::~Snapshot()
{
    std::error_code none;
    std::filesystem::remove(path, none);
}

Snapshots::Snapshots(ProcessList& processes, ReplaySettings settings, std::optional<std::uint32_t> every)
    : m_processes(processes), m_settings(std::move(settings)), m_every(every), m_spacing(Spacing)
{
    std::error_code none;
    const std::filesystem::space_info space = std::filesystem::space(std::filesystem::temp_directory_path(none), none);
    // Others need some of the disk too.
    m_progress.mostBytes = none ? MostBytes : std::min<std::uint64_t>(MostBytes, space.available / 4);
    m_progress.isDone = every == 0U;
    if (!m_folder.IsThere())
        m_progress.trouble = "there is no temporary folder";
}

Snapshots::~Snapshots()
{
    Stop();
}

void Snapshots::Stop()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stop = m_isInterrupted = true;
    }
    m_wake.notify_all();
    if (m_thread.joinable())
        m_thread.join();
    m_folder.Remove();
}

void Snapshots::Begin()
{
    const std::lock_guard lock(m_mutex);
    if (m_thread.joinable() || m_stop || !m_folder.IsThere())
        return;
    m_thread = std::thread([this] { Run(); });
}

void Snapshots::Want(Wish wish)
{
    Begin();
    const std::lock_guard lock(m_mutex);
    // The first frame begins with the capture.
    if (wish.frame < 2 || !m_wished.insert(wish.frame).second)
        return;
    m_wishes.push_back(std::move(wish));
    m_isInterrupted = true;
    m_wake.notify_all();
}

SnapshotPointer Snapshots::At(std::uint32_t frame) const
{
    const std::lock_guard lock(m_mutex);
    const auto entry = m_entries.find(frame);
    return entry != m_entries.end() && entry->second.isChecked ? entry->second.snapshot : nullptr;
}

SnapshotPointer Snapshots::Nearest(std::uint32_t frame) const
{
    if (SnapshotPointer snapshot = At(frame))
        return snapshot;
    const std::lock_guard lock(m_mutex);
    const auto after = m_entries.lower_bound(frame);
    return after != m_entries.begin() ? std::prev(after)->second.snapshot : nullptr;
}

void Snapshots::Drop(const Snapshot& snapshot, const std::string& why)
{
    const std::lock_guard lock(m_mutex);
    if (const auto entry = m_entries.find(snapshot.frame);
        entry == m_entries.end() || entry->second.snapshot.get() != &snapshot)
        return;
    m_entries.erase(snapshot.frame);
    m_progress.trouble = "frame " + std::to_string(snapshot.frame) + ": " + why;
}

Snapshots::Progress Snapshots::Get() const
{
    const std::lock_guard lock(m_mutex);
    Progress progress = m_progress;
    for (const auto& [frame, entry] : m_entries) {
        progress.frames.push_back(frame);
        progress.bytes += entry.snapshot->bytes;
    }
    return progress;
}

void Snapshots::Check(const Snapshot& snapshot)
{
    const std::lock_guard lock(m_mutex);
    if (const auto entry = m_entries.find(snapshot.frame); entry != m_entries.end())
        entry->second.isChecked = true;
}

/// Lets the process replay the snapshot's frame.
bool Snapshots::IsAsExpected(ReplayProcess& process, const Snapshot& snapshot)
{
    try {
        return HashesOf(process.Ask(ToFrame(snapshot.frame, true)).json["pictures"]) == snapshot.hashes;
    } catch (const Error&) {
        return false;
    }
}

Snapshots::Started Snapshots::Start(std::uint32_t frame, bool makesSnapshots)
{
    for (;;) {
        Started started;
        started.from = Nearest(frame);
        started.at = {started.from ? started.from->frame : 1, 0};
        started.process = std::make_unique<ReplayProcess>(
            m_processes, m_settings, started.from ? started.from->path : std::string(), makesSnapshots);
        if (!started.from || At(started.from->frame))
            return started;
        if (IsAsExpected(*started.process, *started.from)) {
            Check(*started.from);
            ++started.at.frame;
            return started;
        }
        Drop(*started.from, "replay from its snapshot shows something else");
    }
}

// The thread.

void Snapshots::Run()
{
    TakeLowPriority();
    for (;;) {
        std::optional<Wish> wish;
        {
            std::unique_lock lock(m_mutex);
            m_wake.wait(lock, [this] { return m_stop || !m_wishes.empty() || !m_progress.isDone; });
            if (m_stop)
                break;
            while (!m_stop && m_isInterrupted.exchange(false))
                m_wake.wait_for(lock, PassingBy);
            if (!m_stop && !m_wishes.empty()) {
                wish = std::move(m_wishes.back());
                m_wishes.pop_back();
            }
        }
        try {
            if (wish)
                Meet(*wish);
            else
                GoOn();
        } catch (const Error& error) {
            EndPass(error.what());
        }
    }
    m_pass.reset();
}

void Snapshots::EndPass(const std::string& trouble)
{
    m_pass.reset();
    const std::lock_guard lock(m_mutex);
    m_progress.isDone = true;
    if (!trouble.empty())
        m_progress.trouble = trouble;
}

void Snapshots::GoOn()
{
    if (!m_pass)
        m_pass = std::make_unique<ReplayProcess>(m_processes, m_settings, "", true);
    if (!GoToNext())
        return;
    m_last = MakeNext();
    const std::lock_guard lock(m_mutex);
    m_progress.framesDone = m_last->frame;
    m_entries.try_emplace(m_last->frame, Entry{m_last});
    MakeRoom();
}

bool Snapshots::GoToNext()
{
    while (!m_isInterrupted) {
        const auto begin = Clock::now();
        const std::uint32_t next = m_progress.framesDone + 1;
        const Json answer = m_pass->Ask(ToFrame(next, false)).json;
        m_replayed += Clock::now() - begin;
        if (answer.value("end", false) || next >= answer.value("frames", 0U)) {
            EndPass("");
            return false;
        }
        const std::lock_guard lock(m_mutex);
        m_progress.framesDone = next;
        if (m_every ? next % *m_every == 0 : m_replayed >= m_spacing)
            return true;
    }
    return false;
}

SnapshotPointer Snapshots::MakeNext()
{
    const auto begin = Clock::now();
    const std::shared_ptr<Snapshot> snapshot = Write(*m_pass, m_progress.framesDone + 1);
    // Most of the time is for replay, so that the pass does not take much longer than a replay.
    m_replayed = std::min<Clock::duration>(m_spacing - 2 * (Clock::now() - begin), Clock::duration::zero());
    snapshot->hashes = HashesOf(m_pass->Ask(ToFrame(snapshot->frame, true)).json["pictures"]);
    return snapshot;
}

/// Lets go of every second one along the capture while they are too many; to be called with the mutex.
void Snapshots::MakeRoom()
{
    for (;;) {
        std::vector<std::uint32_t> frames;
        std::uint64_t bytes = 0;
        for (const auto& [frame, entry] : m_entries) {
            bytes += entry.snapshot->bytes;
            if (!entry.isWished)
                frames.push_back(frame);
        }
        if (frames.empty() || (bytes <= m_progress.mostBytes && frames.size() <= MostSnapshots))
            return;
        // All but the last one and every second in front of it.
        for (std::size_t i = frames.size() > 1 ? frames.size() - 2 : 0; i < frames.size(); i -= 2)
            m_entries.erase(frames[i]);
        m_spacing *= 2;
        if (frames.size() == 1) {
            m_progress.isDone = true;
            m_progress.trouble = "a snapshot takes more than the " + std::to_string(m_progress.mostBytes >> 20) +
                                 " MiB that there are for all";
        }
    }
}

std::shared_ptr<Snapshot> Snapshots::Write(ReplayProcess& process, std::uint32_t frame)
{
    auto snapshot = std::make_shared<Snapshot>();
    snapshot->path = m_folder.File(std::to_string(++m_files) + ".snapshot");
    snapshot->frame = frame;
    const Json answer = process.Ask({{"do", "snapshot"}, {"file", snapshot->path}}).json;
    if (answer.contains("problem"))
        throw ReplayError(answer["problem"].get<std::string>());
    std::error_code none;
    const std::uintmax_t bytes = std::filesystem::file_size(snapshot->path, none);
    snapshot->bytes = none ? 0 : bytes;
    return snapshot;
}

void Snapshots::Meet(const Wish& wish)
{
    if (At(wish.frame))
        return;
    std::string fault;
    try {
        const SnapshotPointer snapshot = Make(wish);
        fault = FaultOf(*snapshot, wish);
        if (fault.empty())
            return KeepWished(snapshot);
        Drop(*snapshot, fault);
    } catch (const Error& error) {
        fault = error.what();
    }
    const std::lock_guard lock(m_mutex);
    m_progress.trouble = "frame " + std::to_string(wish.frame) + ": " + fault;
}

SnapshotPointer Snapshots::Make(const Wish& wish)
{
    {
        // One along the capture may begin with the frame.
        const std::lock_guard lock(m_mutex);
        if (const auto entry = m_entries.find(wish.frame); entry != m_entries.end())
            return entry->second.snapshot;
    }
    const Started started = Start(wish.frame, true);
    started.process->Ask(ToFrame(wish.frame - 1, false));
    return Write(*started.process, wish.frame);
}

void Snapshots::KeepWished(const SnapshotPointer& snapshot)
{
    const std::lock_guard lock(m_mutex);
    const auto [entry, isNew] = m_entries.try_emplace(snapshot->frame, Entry{snapshot, true, true});
    entry->second.isChecked = true;
    if (isNew)
        m_order.push_back(snapshot->frame);
    if (m_order.size() <= MostWished)
        return;
    m_entries.erase(m_order.front());
    m_wished.erase(m_order.front());
    m_order.pop_front();
}

std::string Snapshots::FaultOf(const Snapshot& snapshot, const Wish& wish)
{
    ReplayProcess process(m_processes, m_settings, snapshot.path);
    process.Ask({{"do", "go"}, {"frame", wish.frame}, {"call", wish.call}});
    const Json targets = process.Ask({{"do", "targets"}}).json.value("targets", Json::array());
    return HashesOf(targets) == wish.hashes ? "" : "replay from its snapshot shows something else";
}

} // namespace Inspect
