#include "Recorder/Launcher/Spool.h"

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <utility>

#include "Recorder/Launcher/CapturePlace.h"
#include "Recorder/Launcher/Summary.h"
#include "Recorder/Report.h"
#include "Recorder/Settings.h"
#include "Util/ExitStatus.h"
#include "Util/Spelling.h"

namespace Recorder {

namespace fs = std::filesystem;

namespace {

/// When it is time to let go of what is not wanted any more: where the last frames are kept, when these are as many
/// again and as much as this. A small recording is thus not cut all the time.
constexpr std::uint32_t ManyFrames = 1000;
constexpr std::uint64_t ManyBytes = 32u << 20;
/// Where nothing is kept, when it takes this much of the disk: a recording that is soon started costs no cut before.
constexpr std::uint64_t IdleBytes = 512u << 20;

/// When the last frames are kept, after so many attempts to let go of others space is not bounded any more.
constexpr unsigned MaxFailures = 2;

constexpr useconds_t PollUs = 20'000;

} // namespace

Spool::Spool(SpoolPlace& place, const Wanted& wanted, fs::path file, std::string program, pid_t process)
    : m_place(place), m_wanted(wanted), m_first(std::move(file)), m_folder(m_first.string() + SpoolEnding),
      m_program(std::move(program)), m_process(process), m_plan(wanted), m_current{m_first, 0}
{
}

Spool::~Spool()
{
    m_job.reset();
    std::error_code error;
    fs::remove(CutFile(), error);
    fs::remove(LogFile(), error);
    if (!m_isKept)
        fs::remove_all(m_folder, error);
    if (m_lock >= 0)
        close(m_lock);
}

void Spool::Ask(const std::shared_ptr<Request>& request, std::uint32_t frames, std::uint32_t begun)
{
    const std::string name = m_program + " (process " + std::to_string(m_process) + ")";
    if (request->What() == Command::Status) {
        request->Give(name + ": " + Util::Counted(frames, "frame") + ", " + m_plan.Describe(frames) +
                      (m_job || !m_queue.empty() ? ", cutting" : ""));
        return;
    }
    if (m_place.tools.trim.empty()) {
        request->Refuse("playback-trim, which cuts the frames out, is missing: it belongs into the folder of "
                        "playback-record");
        return;
    }
    const std::string why = request->What() == Command::Start ? m_plan.Start(begun)
                            : request->What() == Command::Stop
                                ? m_plan.Stop(frames, request)
                                : m_plan.Snapshot(m_wanted.last != 0 ? frames : begun, request);
    if (!why.empty())
        request->Refuse(name + ": " + why);
    else if (request->What() == Command::Start)
        request->Say(name + ": " + m_plan.Describe(begun));
}

std::string Spool::Update(Drain& drain)
{
    std::string error;
    std::ranges::move(m_plan.TakeComplete(drain.Frames()), std::back_inserter(m_queue));
    if (std::ranges::any_of(m_queue, [this](const Part& part) { return part.frames.last > m_endedFrames; }))
        error = EndFile(drain);
    RunJobs();
    if (error.empty() && !m_job && !m_isKept && drain.Frames() >= m_nextBaseFrames)
        error = LetGo(drain);
    return error.empty() ? m_error : error;
}

/// Has the files end, and the rest cut out of them, where much in them is not wanted.
std::string Spool::LetGo(Drain& drain)
{
    const std::uint32_t frames = drain.Frames();
    const std::uint32_t begin = Begin();
    const std::uint32_t kept = std::min(m_plan.FirstWanted(frames), std::max(frames, 1u));
    if (kept <= begin + 1)
        return {};
    const std::uint32_t droppable = kept - 1 - begin;
    const std::uint64_t bytes = Bytes() * droppable / (frames - begin);
    const bool isMuch = m_wanted.last == 0
                            ? bytes >= IdleBytes
                            : droppable >= m_wanted.last && (droppable >= ManyFrames || bytes >= ManyBytes);
    if (!isMuch)
        return {};
    std::string error = EndFile(drain);
    if (error.empty())
        BeginCut({{{kept, Util::FrameRange::NoEnd}}, true}, droppable);
    return error;
}

bool Spool::IsFull(std::uint32_t frames) const
{
    return m_wanted.last != 0 && m_job && frames >= m_frameLimit;
}

std::uint32_t Spool::Begin() const
{
    return m_files.empty() ? m_current.begin : m_files.front().begin;
}

std::uint64_t Spool::Bytes() const
{
    std::error_code error;
    std::uint64_t bytes = fs::file_size(m_current.path, error);
    bytes = error ? 0 : bytes;
    for (const File& file : m_files)
        bytes += file.bytes;
    return bytes;
}

/// By their names the files are in order.
fs::path Spool::NameOf(std::uint32_t begin) const
{
    char name[32];
    std::snprintf(name, sizeof name, "%010u%s", begin, CaptureEnding);
    return m_folder / name;
}

void Spool::MakeFolder()
{
    std::error_code error;
    if (m_lock < 0 && fs::create_directory(m_folder, error)) {
        m_lock = open(m_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        flock(m_lock, LOCK_EX | LOCK_NB);
    }
}

/// The file at work is complete. The first one leaves its place to the capture that is cut out at the end.
void Spool::Keep(std::uint32_t frames)
{
    std::error_code error;
    if (m_current.path == m_first) {
        MakeFolder();
        const fs::path name = NameOf(0);
        fs::rename(m_first, name, error);
        m_current.path = error ? m_first : name;
    }
    m_current.bytes = fs::file_size(m_current.path, error);
    m_files.push_back(m_current);
    m_endedFrames = frames;
}

std::string Spool::EndFile(Drain& drain)
{
    const std::uint32_t frames = drain.Frames();
    if (frames == m_endedFrames)
        return {};
    MakeFolder();
    std::string why;
    auto writer = Data::CaptureWriter::Create(NameOf(frames), {}, why);
    if (writer == nullptr)
        return why;
    drain.ContinueIn(std::move(writer), Whole().filename().string());
    Keep(frames);
    m_current = {NameOf(frames), frames};
    return {};
}

void Spool::RunJobs()
{
    if (m_job)
        ContinueJob();
    if (!m_job && !m_queue.empty()) {
        Part part = std::move(m_queue.front());
        m_queue.pop_front();
        BeginCut({std::move(part)}, std::max(m_wanted.last, ManyFrames));
    }
}

/// Meanwhile at most `frames` more are written where space is bounded.
void Spool::BeginCut(Job job, std::uint32_t frames)
{
    std::vector<std::string> command = {m_place.tools.trim};
    for (const File& file : m_files)
        command.push_back(file.path);
    command.insert(command.end(), {"--frames", InFiles(job.part.frames), "-o", CutFile()});
    if (job.isBase)
        command.emplace_back("--continued");
    m_job.emplace(std::move(job));
    m_job->files = m_files.size();
    m_job->tool = std::make_unique<Tool>(command, LogFile(), !m_job->isBase);
    m_frameLimit = m_endedFrames + frames;
}

/// A range as playback-trim has it.
std::string Spool::InFiles(Util::FrameRange frames) const
{
    const std::string first = std::to_string(frames.first - Begin()) + "-";
    return frames.last == Util::FrameRange::NoEnd ? first : first + std::to_string(frames.last - Begin());
}

void Spool::ContinueJob()
{
    if (!m_job->tool->IsDone())
        return;
    const int status = m_job->tool->Status();
    const std::string words = m_job->tool->LastWords();
    if (!m_job->isVerifying && status != 0) {
        const Job failed = *std::exchange(m_job, std::nullopt);
        failed.isBase ? TellBaseLost(words) : TellLost(failed.part, words);
    } else if (m_job->isBase) {
        TakeBase();
        m_job.reset();
    } else if (!m_job->isVerifying && m_wanted.hash && !m_place.tools.playback.empty()) {
        m_job->isVerifying = true;
        m_job->tool = std::make_unique<Tool>(
            std::vector<std::string>{m_place.tools.playback, "-headless", "-verify", CutFile()}, LogFile(), true);
    } else {
        Give(m_job->part, !m_job->isVerifying ? "not verified, since there are no hashes (--hash)"
                          : status == 0       ? "verified"
                          : status == static_cast<int>(Util::ExitStatus::Differed)
                              ? "NOT REPLAYED AS RECORDED: " + words
                              : words);
        m_job.reset();
    }
}

void Spool::TakeBase()
{
    const std::uint32_t begin = m_job->part.frames.first - 1;
    const auto taken = m_files.begin() + static_cast<std::ptrdiff_t>(m_job->files);
    std::error_code error;
    File base{NameOf(begin), begin, fs::file_size(CutFile(), error)};
    fs::rename(CutFile(), base.path, error);
    for (auto file = m_files.begin(); file != taken; ++file)
        if (file->path != base.path)
            fs::remove(file->path, error);
    m_files.erase(m_files.begin(), taken);
    m_files.insert(m_files.begin(), std::move(base));
    m_failures = 0;
}

void Spool::Finish(Drain& drain, const HowItEnded& how)
{
    while (drain.Take()) {
    }
    const std::uint32_t frames = drain.Frames();
    std::vector<Part> rest = m_plan.TakeRest(frames);
    const bool isWhole =
        m_files.empty() && m_queue.empty() && rest.size() == 1 && rest.front().isMain && rest.front().frames.first == 1;
    if (!isWhole) {
        drain.NameOrigin(Whole().filename().string());
        // Whoever finds the file complete must see that something is still cut out of it.
        MakeFolder();
    }
    drain.Finish(how);
    if (isWhole) {
        if (m_wanted.last != 0)
            dprintf(m_place.reports, "%d %s It had no more frames.\n", static_cast<int>(m_process), Finding::Cut);
        return;
    }
    Keep(frames);
    for (Part& part : rest)
        if (part.frames.first <= frames)
            m_queue.push_back(std::move(part));
        else if (part.request)
            part.request->Refuse("no frame ended before the program did");
    dprintf(m_place.reports, "%d %s %u\n", static_cast<int>(m_process), Finding::Frames, frames);
    while (m_job || !m_queue.empty()) {
        if (m_place.isAbandoned) {
            Abandon();
            return;
        }
        RunJobs();
        usleep(PollUs);
    }
}

void Spool::Abandon()
{
    if (m_job && !m_job->isBase)
        TellLost(m_job->part, "the recording was told to end before that was done");
    m_job.reset();
    for (const Part& part : std::exchange(m_queue, {}))
        TellLost(part, "the recording was told to end before that was done");
}

/// The part is cut out: it gets its name, and is told of.
void Spool::Give(const Part& part, const std::string& verdict)
{
    const Summary summary = Summarize(CutFile());
    const std::uint32_t last = part.frames.first + summary.frames - 1;
    const std::string text =
        (last == part.frames.first ? "Frame " + std::to_string(last)
                                   : "Frames " + std::to_string(part.frames.first) + " to " + std::to_string(last)) +
        " of " + m_program + ", " + verdict + ".";
    std::string error;
    if (part.isMain) {
        if (std::rename(CutFile().c_str(), m_first.c_str()) == 0)
            dprintf(m_place.reports, "%d %s %s\n", static_cast<int>(m_process), Finding::Cut, text.c_str());
        return;
    }
    const fs::path file = PutAtFreeName(Whole(), '-', 1, CutFile(), error);
    std::fprintf(stderr, "playback-record: %s  %s\n", Describe(file.string(), summary).c_str(), text.c_str());
    if (!error.empty())
        std::fprintf(stderr, "  %s\n", error.c_str());
    m_isKept = m_isKept || !error.empty();
    dprintf(m_place.reports, "%d %s %s\n", static_cast<int>(m_process), Finding::Part, file.c_str());
    if (part.request)
        part.request->GiveQuietly(fs::absolute(file).string());
}

void Spool::TellLost(const Part& part, const std::string& why)
{
    m_isKept = true;
    const std::string command = "playback-trim " + Util::Quoted(m_folder.string()) + "/*" + CaptureEnding +
                                " --frames " + InFiles(part.frames) + " -o OUT" + CaptureEnding;
    const std::string text = "frames " + std::to_string(part.frames.first) + " on could not be cut out: " + why +
                             "\n  They can be from what is kept: " + command;
    std::fprintf(stderr, "playback-record: %s\n", text.c_str());
    dprintf(m_place.reports, "%d %s %s\n", static_cast<int>(m_process), Finding::Uncut, why.c_str());
    if (part.request)
        part.request->Refuse(text);
}

/// What is not wanted stays for now.
void Spool::TellBaseLost(const std::string& why)
{
    m_nextBaseFrames = m_endedFrames + std::max(m_wanted.last, ManyFrames);
    ++m_failures;
    if (m_failures == 1)
        std::fprintf(stderr, "playback-record: what is not wanted any more cannot be removed: %s\n", why.c_str());
    if (m_failures == MaxFailures && m_wanted.last != 0)
        m_error = "it would take more and more space, since frames cannot be cut out: " + why;
}

} // namespace Recorder
