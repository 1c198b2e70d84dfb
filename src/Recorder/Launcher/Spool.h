// The files of one recorded process, of which captures are cut.
#pragma once

#include <atomic>
#include <deque>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Recorder/Channel/Drain.h"
#include "Recorder/Launcher/FramePlan.h"
#include "Recorder/Launcher/Tool.h"

namespace Recorder {

/// Where captures go, and what is told of them; shared by all processes of a recording.
struct SpoolPlace {
    /// The capture that is wanted, beside which parts get their names; empty: each beside its own process's.
    std::filesystem::path file;
    CutTools tools;
    /// Where is told what playback-record has to know at the end, see Recorder/Report.h.
    int reports;
    /// Nobody wants to wait for what is still to be cut.
    std::atomic<bool> isAbandoned = false;
};

/// As long as all is wanted, one file in the folder of the captures. Otherwise a row of files in a folder of its own,
/// each of which goes on where the one in front of it ends. What is wanted is cut out of them when it is complete. When
/// they hold much that is not wanted any more, the rest is cut out to take their place.
class Spool {
public:
    /// `file` is in the folder of captures, and written to by the drain that is given below. `place` is borrowed.
    Spool(SpoolPlace& place, const Wanted& wanted, std::filesystem::path file, std::string program, pid_t process);
    ~Spool();
    Spool(const Spool&) = delete;
    Spool& operator=(const Spool&) = delete;

    /// Does what is asked for, or begins to. `frames` have ended, and `begun` are those and one that is being swapped:
    /// it may have no hash.
    void Ask(const std::shared_ptr<Request>& request, std::uint32_t frames, std::uint32_t begun);
    /// After something was taken out of the channel: has files end, and cuts, as far as that goes without waiting. Why
    /// nothing more can be written; empty as long as that is not so.
    [[nodiscard]] std::string Update(Drain& drain);
    [[nodiscard]] bool IsRecording() const { return m_plan.IsRecording(); }
    /// Nothing more is to be written before there is room: a program that is faster than cutting waits.
    [[nodiscard]] bool IsFull(std::uint32_t frames) const;
    /// At the end of the program. Waits until all is cut.
    void Finish(Drain& drain, const HowItEnded& how);

private:
    /// What is being made.
    struct Job {
        Part part;
        /// It takes the place of the files that it is cut out of, `files` of them.
        bool isBase = false;
        std::size_t files = 0;
        bool isVerifying = false;
        std::unique_ptr<Tool> tool = nullptr;
    };
    struct File {
        std::filesystem::path path;
        /// Frames of the program in front of it.
        std::uint32_t begin;
        std::uint64_t bytes = 0;
    };

    [[nodiscard]] std::string LetGo(Drain& drain);
    [[nodiscard]] std::string EndFile(Drain& drain);
    void Keep(std::uint32_t frames);
    void MakeFolder();
    void RunJobs();
    void BeginCut(Job job, std::uint32_t frames);
    void ContinueJob();
    void TakeBase();
    void Abandon();
    void Give(const Part& part, const std::string& verdict);
    void TellLost(const Part& part, const std::string& why);
    void TellBaseLost(const std::string& why);

    /// Frames in front of the first file.
    [[nodiscard]] std::uint32_t Begin() const;
    [[nodiscard]] std::uint64_t Bytes() const;
    [[nodiscard]] std::string InFiles(Util::FrameRange frames) const;
    /// The capture whose parts these are.
    [[nodiscard]] const std::filesystem::path& Whole() const { return m_place.file.empty() ? m_first : m_place.file; }
    [[nodiscard]] std::filesystem::path NameOf(std::uint32_t begin) const;
    [[nodiscard]] std::filesystem::path CutFile() const { return m_folder / "cut"; }
    [[nodiscard]] std::filesystem::path LogFile() const { return m_folder / "log"; }

    SpoolPlace& m_place;
    const Wanted m_wanted;
    const std::filesystem::path m_first;
    const std::filesystem::path m_folder;
    const std::string m_program;
    const pid_t m_process;
    FramePlan m_plan;

    /// Those that have ended; the one at work is m_current.
    std::vector<File> m_files;
    File m_current;
    /// Frames that the files that have ended go up to.
    std::uint32_t m_endedFrames = 0;
    std::deque<Part> m_queue;
    std::optional<Job> m_job;
    /// While a job is at work, at most so many frames are written when space is bounded.
    std::uint32_t m_frameLimit = 0;
    /// After a cut that failed: not before so many frames.
    std::uint32_t m_nextBaseFrames = 0;
    /// Cuts of that kind that failed, one after the other.
    unsigned m_failures = 0;
    /// Why nothing more is written.
    std::string m_error;
    /// Of the folder once it is there: locked as long as this works on it.
    int m_lock = -1;
    /// Something could not be cut out; the files stay.
    bool m_isKept = false;
};

} // namespace Recorder
