#include "Inspect/Replay/Thumbnails.h"

#include <algorithm>

#include "Inspect/Error.h"
#include "Inspect/Formats/Picture.h"

namespace Inspect {

namespace {

/// Pictures of frames in all; longer captures have one of several frames.
constexpr std::uint32_t MostFrames = 1000;
/// Frames whose actions are kept.
constexpr std::size_t MostWorks = 4;
/// The longest side, in pixels.
constexpr std::uint32_t FrameSide = 144;
constexpr std::uint32_t ActionSide = 96;
/// After which the way to a frame begins further in front of it.
constexpr std::chrono::seconds PatienceForSnapshot{5};
constexpr std::chrono::milliseconds Pause{20};

} // namespace

Thumbnails::~Thumbnails()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stop = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

Thumbnails::Strip Thumbnails::Frames(std::uint32_t total, bool waits)
{
    std::unique_lock lock(m_mutex);
    m_total = total;
    m_every = std::max(m_every, (total + MostFrames - 1) / MostFrames);
    StartThread();
    m_changed.notify_all();
    m_changed.wait(lock, [&] { return !waits || m_strip.isDone; });
    return m_strip;
}

std::string Thumbnails::OfFrame(std::uint32_t frame)
{
    const std::lock_guard lock(m_mutex);
    const auto entry = m_frames.find(frame);
    return entry != m_frames.end() ? entry->second : std::string();
}

/// Makes the frame the one at work.
void Thumbnails::Select(std::uint32_t frame)
{
    const auto work = std::ranges::find(m_works, frame, &Work::frame);
    if (work != m_works.end() && work == m_works.begin())
        return;
    if (work == m_works.end()) {
        m_works.push_front({frame, std::make_shared<Actions>(), Clock::now()});
        if (m_works.size() > MostWorks)
            m_works.pop_back();
    } else {
        m_works.splice(m_works.begin(), m_works, work);
        // Other frames may have taken the place of what was known ahead.
        if (Actions& actions = *work->actions; actions.isDone && m_replays.Kept().CountOf(frame) < actions.ahead)
            actions.isDone = false;
    }
    StartThread();
    m_changed.notify_all();
}

void Thumbnails::Begin(std::uint32_t frame)
{
    const std::lock_guard lock(m_mutex);
    Select(frame);
}

std::shared_ptr<const Thumbnails::Actions> Thumbnails::OfActions(std::uint32_t frame, bool waits)
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        Select(frame);
        const std::shared_ptr<Actions> actions = m_works.front().actions;
        // Somebody may look at another frame in the meantime.
        m_changed.wait(lock, [&] { return !waits || actions->isDone || m_works.front().actions->isDone; });
        // The thread goes on with its own.
        if (!waits || actions->isDone)
            return std::make_shared<Actions>(*actions);
    }
}

void Thumbnails::StartThread()
{
    if (!m_thread.joinable())
        m_thread = std::thread([this] { Run(); });
}

bool Thumbnails::WantsFrames() const
{
    return m_total > 0 && !m_strip.isDone;
}

void Thumbnails::Run()
{
    TakeLowPriority();
    while (WaitForQuiet()) {
        Work work;
        bool wantsFrames = false;
        {
            std::unique_lock lock(m_mutex);
            const bool isWorking = !m_works.empty() && !m_works.front().actions->isDone;
            if (isWorking)
                work = m_works.front();
            wantsFrames = WantsFrames();
            if (!isWorking && !wantsFrames)
                m_changed.wait(lock);
        }
        const bool hasStepped = work.actions && NextAction(work);
        if (!hasStepped && wantsFrames)
            NextFrame();
    }
}

bool Thumbnails::WaitForQuiet()
{
    std::unique_lock lock(m_mutex);
    // Never long, since nobody tells when others are done.
    while (!m_stop && m_isBusy())
        m_changed.wait_for(lock, Pause);
    return !m_stop;
}

void Thumbnails::NextFrame()
{
    std::string png;
    std::uint32_t frame = 0;
    std::uint32_t every = 1;
    {
        const std::lock_guard lock(m_mutex);
        frame = static_cast<std::uint32_t>(m_strip.failed.size()) + 1;
        every = m_every;
    }
    const bool isShown = (frame - 1) % every == 0;
    Json answer = {{"end", true}};
    try {
        if (!m_strips)
            m_strips = m_replays.AllSnapshots().Start(1, false).process;
        answer = m_strips->Ask({{"do", "frame"}, {"frame", frame}, {"pictures", isShown}}).json;
        // Of several windows the last one that was swapped.
        if (const Json& pictures = answer.value("pictures", Json::array()); !pictures.empty()) {
            const Json request = {{"do", "pixels"}, {"index", pictures.size() - 1}};
            png = EncodeThumbnail({pictures.back(), m_strips->Ask(request).bytes}, FrameSide);
        }
    } catch (const Error&) {
        // There are no more of them.
        m_strips.reset();
    }
    const std::lock_guard lock(m_mutex);
    if (!png.empty()) {
        m_frames[frame] = std::move(png);
        m_strip.pictures.push_back(frame);
    }
    m_strip.failed.push_back(answer.value("failed", 0U));
    m_strip.isDone = answer.contains("end") || frame >= m_total;
    if (m_strip.isDone)
        m_strips.reset();
    m_changed.notify_all();
}

/// One step on the way to the start of a frame; true when it is there.
bool Thumbnails::GoToFrame(const Work& work)
{
    if (m_stepsFrame != work.frame) {
        m_steps.reset();
        m_stepsFrame = work.frame;
        m_ahead = 0;
        m_hasRoom = true;
    }
    if (!m_steps) {
        Snapshots::Started started = m_replays.AllSnapshots().Start(work.frame, false);
        m_steps = std::move(started.process);
        // It may have to be told to go to where it begins.
        m_framesGone = std::max(started.at.frame, 2U) - 2;
    }
    if (m_framesGone + 1 >= work.frame)
        return true;
    m_steps->Ask({{"do", "frame"}, {"frame", ++m_framesGone}});
    return m_framesGone + 1 >= work.frame;
}

bool Thumbnails::NextAction(const Work& work)
{
    const bool mayGetOne = work.frame > 1 && m_replays.IsLasting() && Clock::now() - work.since < PatienceForSnapshot;
    if (m_stepsFrame != work.frame && mayGetOne && !m_replays.AllSnapshots().At(work.frame)) {
        std::unique_lock lock(m_mutex);
        if (!WantsFrames() && !m_stop)
            m_changed.wait_for(lock, Pause);
        return false;
    }
    try {
        if (GoToFrame(work)) {
            const ReplayAnswer step = m_steps->Ask({{"do", "step"}});
            if (!step.json.contains("end") && m_hasRoom) {
                m_hasRoom = m_lookAhead({work.frame, step.json.value("call", 0U)}, *m_steps, step.json);
                m_ahead += m_hasRoom ? 1 : 0;
            }
            Keep(work, step);
        }
    } catch (const Error&) {
        Keep(work, {{{"end", true}}});
    }
    return true;
}

void Thumbnails::Keep(const Work& work, const ReplayAnswer& answer)
{
    Change change;
    if (!answer.bytes.empty())
        change = {answer.json.value("x", 0U), answer.json.value("y", 0U), answer.json.value("width", 0U),
                  answer.json.value("height", 0U), EncodeThumbnail(answer, ActionSide)};
    const std::lock_guard lock(m_mutex);
    if (answer.json.contains("end")) {
        work.actions->failed = answer.json.value("failed", Json::array());
        work.actions->ahead = m_ahead;
        work.actions->isDone = true;
        m_steps.reset();
        m_stepsFrame = 0;
    } else {
        work.actions->changes[answer.json.value("call", 0U)] = std::move(change);
    }
    m_changed.notify_all();
}

} // namespace Inspect
