#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "Inspect/Place.h"
#include "Inspect/Replay/ReplayProcess.h"
#include "Util/TemporaryFolder.h"

namespace Inspect {

/// What was there when a frame began, in a file with which replays begin. The file goes with this.
struct Snapshot {
    std::string path;
    /// The frame that begins with it.
    std::uint32_t frame = 0;
    std::uint64_t bytes = 0;
    /// Of the pictures that the frame shows in the capture; for those along the capture.
    std::vector<std::string> hashes = {};

    ~Snapshot();
};
using SnapshotPointer = std::shared_ptr<const Snapshot>;

/// Keeps the state at the starts of frames: along the capture, of which one replay process goes through all in the
/// background, and of the frames that are looked at. A snapshot is used after it has shown what the capture shows.
/// Members may be called from any thread.
class Snapshots {
public:
    /// `every`: how many frames apart snapshots along the capture are, none for 0; without it, the time that replay
    /// takes decides.
    Snapshots(ProcessList& processes, ReplaySettings settings, std::optional<std::uint32_t> every);
    ~Snapshots();
    Snapshots(const Snapshots&) = delete;
    Snapshots& operator=(const Snapshots&) = delete;

    /// Begins to go along the capture, where that has not begun.
    void Begin();
    /// Of a frame that is looked at, what a replay showed there, which its snapshot has to show too.
    struct Wish {
        std::uint32_t frame = 0;
        std::uint32_t call = 0;
        /// Of the targets after the call.
        std::vector<std::string> hashes = {};
    };
    /// Has a snapshot made, where that has not been tried; of several wishes the last one is met first.
    void Want(Wish wish);

    /// With which the frame begins; null while it is not ready, and when it cannot be had.
    [[nodiscard]] SnapshotPointer At(std::uint32_t frame) const;
    /// The same, or the nearest one of an earlier frame.
    [[nodiscard]] SnapshotPointer Nearest(std::uint32_t frame) const;
    /// It turned out to be of no use.
    void Drop(const Snapshot& snapshot, const std::string& why);

    /// A replay process that is not behind the start of a frame.
    struct Started {
        std::unique_ptr<ReplayProcess> process;
        SnapshotPointer from;
        Place at;
        /// It replays something else than was recorded.
        bool hasEdits = false;
    };
    /// Throws Error.
    Started Start(std::uint32_t frame, bool makesSnapshots);

    struct Progress {
        /// The frames that begin with snapshots.
        std::vector<std::uint32_t> frames;
        std::uint64_t bytes = 0;
        std::uint64_t mostBytes = 0;
        /// How many frames the pass along the capture has gone through; whether it is at its end.
        std::uint32_t framesDone = 0;
        bool isDone = false;
        /// Why there are less than there could be; empty for nothing.
        std::string trouble;
    };
    [[nodiscard]] Progress Get() const;
    /// Ends the work and removes the files, when all processes have been told to end.
    void Stop();

private:
    struct Entry {
        SnapshotPointer snapshot;
        /// It has shown the pictures that it should.
        bool isChecked = false;
        /// Of a frame that is looked at, not one along the capture.
        bool isWished = false;
    };
    using Clock = std::chrono::steady_clock;

    void Run();
    void GoOn();
    /// Replays to where a snapshot is due. False where there is something else to do.
    bool GoToNext();
    SnapshotPointer MakeNext();
    /// Of a process that is at the start of a frame.
    std::shared_ptr<Snapshot> Write(ReplayProcess& process, std::uint32_t frame);
    void MakeRoom();
    void Meet(const Wish& wish);
    SnapshotPointer Make(const Wish& wish);
    [[nodiscard]] std::string FaultOf(const Snapshot& snapshot, const Wish& wish);
    void KeepWished(const SnapshotPointer& snapshot);
    bool IsAsExpected(ReplayProcess& process, const Snapshot& snapshot);
    void Check(const Snapshot& snapshot);
    void EndPass(const std::string& trouble);

    ProcessList& m_processes;
    const ReplaySettings m_settings;
    const std::optional<std::uint32_t> m_every;
    Util::TemporaryFolder m_folder;
    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    /// By frame.
    std::map<std::uint32_t, Entry> m_entries;
    std::deque<Wish> m_wishes;
    std::set<std::uint32_t> m_wished;
    /// Of frames that are looked at, in the order in which they were made.
    std::deque<std::uint32_t> m_order;
    Progress m_progress;
    bool m_stop = false;
    std::atomic<bool> m_isInterrupted = false;
    std::atomic<std::uint32_t> m_files = 0;

    // Of the thread alone.
    std::unique_ptr<ReplayProcess> m_pass;
    /// From which the pass goes on: its file is read again for the next one.
    SnapshotPointer m_last;
    Clock::duration m_spacing;
    Clock::duration m_replayed{};

    std::thread m_thread;
};

/// What the pictures of a frame or the targets of a call are known by.
std::vector<std::string> HashesOf(const Json& images);

} // namespace Inspect
