#include "Trim/Loop/LoopStart.h"

#include <algorithm>

#include "Data/Records/Actions.h"
#include "Data/Records/CallTable.h"
#include "Data/Records/RecordWalk.h"
#include "Trim/Loop/InitialValues.h"

namespace Trim {

namespace {

using Data::CallId;
using Data::RecordId;

constexpr std::uint32_t NoCall = Data::callCount;

/// Calls that are kept in a part of a capture since other calls are between them, and that end what they begin; and
/// those that set up EGL once more.
bool IsHarmless(CallId call)
{
    switch (call) {
    case CallId::glBeginTransformFeedback:
    case CallId::glEndTransformFeedback:
    case CallId::glPauseTransformFeedback:
    case CallId::glResumeTransformFeedback:
    case CallId::glPushDebugGroup:
    case CallId::glPushDebugGroupKHR:
    case CallId::glPushGroupMarkerEXT:
    case CallId::eglBindAPI:
    case CallId::eglChooseConfig:
    case CallId::eglGetConfigs:
        return true;
    default:
        return false;
    }
}

bool IsDrawing(CallId call)
{
    using Data::ActionKind;
    const ActionKind kind = Data::ActionOf(call);
    return kind == ActionKind::Draw || kind == ActionKind::Clear || kind == ActionKind::Blit ||
           kind == ActionKind::Dispatch;
}

std::string NameOf(std::uint32_t call)
{
    return Data::callTable[call].name;
}

} // namespace

std::unique_ptr<LoopStart> LoopStart::Find(const std::string& file, Util::FrameRange frames, std::string& reason)
{
    std::unique_ptr<LoopStart> start(new LoopStart(file, frames));
    reason = start->Read();
    if (reason.empty())
        reason = start->FaultOfLoop();
    if (reason.empty())
        reason = start->FaultOfMappings();
    if (reason.empty())
        reason = start->Select();
    return reason.empty() ? std::move(start) : nullptr;
}

std::string LoopStart::Read()
{
    std::string error;
    const auto source = Data::CaptureSource::Open(m_file, error);
    if (!source)
        return error;
    // What is wrong with the capture is for the replay to tell.
    Data::Diagnostics diagnostics(m_file, [](const std::string&) {});
    bool hasBegun = false;
    const auto visit = [&](const Data::RecordCursor& record) {
        if (!hasBegun && diagnostics.position.frame + 1 == m_frames.first) {
            hasBegun = true;
            Begin();
        }
        Track(*source, record);
    };
    const bool isWhole = Data::WalkRecords(*source, diagnostics, visit, m_frames.last);
    if (!hasBegun || !isWhole)
        return "the capture is damaged or incomplete";
    m_needs = FindNeeds(m_tracker.Log(), m_tracker.Model().Slots(), m_begin, m_isIgnored);
    return "";
}

void LoopStart::Track(const Data::CaptureSource& source, const Data::RecordCursor& record)
{
    const Data::RecordHeader& header = record.Header();
    Origin origin{NoCall, m_tracker.Model().HasContext() ? m_tracker.Model().Context().name : 0};
    bool isIgnored = false;
    if (const std::optional<CallId> call = source.CallOf(header)) {
        origin.call = static_cast<std::uint32_t>(*call);
        // Asked once more, the answer is the same.
        isIgnored = Data::EffectsOf(*call).asksForLocation;
        m_tracker.Call(CallArguments(*call, record));
    } else if (header.id < Data::FirstBuiltInId) {
        m_tracker.Other(Verdict::Drop);
    } else {
        Data::ThreadRecord thread;
        if (record.Is(RecordId::Thread) && record.Read(thread))
            m_tracker.SetThread(thread.thread);
        const auto id = static_cast<RecordId>(header.id);
        // A loop does not bring back what an EGLImage held.
        m_tracker.BuiltIn(record, id == RecordId::Note              ? Verdict::Drop
                                  : id == RecordId::EGLImageContent ? Verdict::Keep
                                                                    : VerdictOf(id));
    }
    m_origins.push_back(origin);
    m_isIgnored.push_back(isIgnored);
}

void LoopStart::Begin()
{
    Data::StateModel& model = m_tracker.Model();
    m_begin.begin = m_tracker.Log().Count();
    m_begin.owners = model.Slots().OwnerCount();
    for (Slot slot = 0; slot < model.Slots().Count(); ++slot)
        m_begin.bound.push_back(model.Slots().ValueOf(slot).bound);
    for (Owner owner = 0; owner < m_begin.owners; ++owner)
        m_begin.isAlive.push_back(owner != 0 && !m_tracker.Object(owner).isDeleted);
    m_threads = m_tracker.Threads();
    m_surfaces = m_tracker.Surfaces();
    m_lastThread = m_tracker.Thread();
    m_spans = m_tracker.ContextInfos();
    for (const auto& [surface, place] : m_surfaces)
        m_contexts.emplace(place.second.context, place);
    for (const auto& [thread, current] : m_threads)
        if (current.context != 0)
            m_contexts[current.context] = {thread, current};
    for (const auto& [name, context] : model.AllContexts().All())
        for (const auto& [key, owner] : context->group->objects.owners)
            if (m_contexts.contains(name))
                m_readable.emplace(owner, Readable{name, m_tracker.Object(owner)});
}

std::string LoopStart::FaultOfLoop() const
{
    for (std::size_t record = m_begin.begin; record < m_origins.size(); ++record) {
        const std::uint32_t call = m_origins[record].call;
        switch (m_tracker.Log().VerdictOf(record)) {
        case Verdict::Keep:
            if (call == NoCall)
                return "a window or an EGLImage changes in it";
            if (IsDrawing(static_cast<CallId>(call)))
                return "something is drawn to an EGLImage in it";
            if (!IsHarmless(static_cast<CallId>(call)))
                return NameOf(call) + " is called in it";
            break;
        case Verdict::KeepAll:
            return NameOf(call) + " is called in it";
        default:
            break;
        }
    }
    return FaultOfSpans();
}

std::string LoopStart::FaultOfSpans() const
{
    for (const auto& [context, info] : m_tracker.ContextInfos()) {
        const auto found = m_spans.find(context);
        const ContextInfo before = found != m_spans.end() ? found->second : ContextInfo();
        if (info.isCapturing || before.isCapturing)
            return "transform feedback goes on beyond it";
        if (info.debugGroups.size() != before.debugGroups.size())
            return "a debug group goes on beyond it";
        const auto isOpen = [](const auto& query) { return query.second != 0; };
        if (std::ranges::any_of(info.queries, isOpen) || std::ranges::any_of(before.queries, isOpen))
            return "a query goes on beyond it";
    }
    return "";
}

std::string LoopStart::FaultOfMappings()
{
    const Data::StateSlots& slots = m_tracker.Model().Slots();
    // Of each buffer, whether it is mapped at the start and at the end.
    std::map<Slot, std::pair<bool, bool>> mappings;
    for (std::size_t record = 0; record < m_origins.size(); ++record) {
        for (const EffectLog::Item item : m_tracker.Log().Items(record)) {
            if ((item.effect != Effect::Replaces && item.effect != Effect::Changes) ||
                slots.StateOf(item.target) != State::Mapping)
                continue;
            auto& [atStart, atEnd] = mappings[item.target];
            atEnd = m_origins[record].call == static_cast<std::uint32_t>(CallId::glMapBufferRange);
            atStart = record < m_begin.begin ? atEnd : atStart;
        }
    }
    for (const auto& [slot, isMapped] : mappings) {
        if (m_needs.isWritten[slot] && slots.OwnerOf(slot) < m_begin.owners && (isMapped.first || isMapped.second))
            return "a buffer is mapped across its ends";
        m_needs.slots.erase(slot);
    }
    return "";
}

bool LoopStart::IsFixed(Owner owner) const
{
    const Data::StateObject& object = m_tracker.Model().Object(owner);
    return object.name == 0 || object.kind == Data::noObject || object.kind == ObjectKind::Context ||
           object.kind == ObjectKind::Surface;
}

bool LoopStart::HasContents(Slot slot) const
{
    const Data::StateSlots& slots = m_tracker.Model().Slots();
    const Owner owner = slots.OwnerOf(slot);
    const State state = slots.StateOf(slot);
    if (m_unreadable.contains(slot))
        return false;
    // As it is at either end.
    if (state == State::Mapping)
        return true;
    const ObjectKind kind = m_tracker.Model().Object(owner).kind;
    if (kind == ObjectKind::Surface)
        return state == State::Pixels;
    const auto found = m_readable.find(owner);
    if (found == m_readable.end() || found->second.info.isAliased || !m_begin.isAlive[owner])
        return false;
    const ObjectInfo& info = found->second.info;
    if (kind == ObjectKind::Texture) {
        return (info.target == GL_TEXTURE_2D || info.target == GL_TEXTURE_CUBE_MAP) &&
               (state == State::Mipmaps || (state == State::Pixels && slots.FirstOf(slot) != 0));
    }
    return (kind == ObjectKind::Renderbuffer && state == State::Pixels) ||
           (kind == ObjectKind::Buffer && state == State::Data && info.bytes > 0);
}

std::string LoopStart::Select()
{
    m_selection = SelectRestore(
        m_tracker.Log(), m_tracker.Model().Slots(), m_begin, m_needs, [this](Slot slot) { return HasContents(slot); },
        [this](Owner owner) { return IsFixed(owner); }, m_isIgnored);
    const std::string reason = FaultOfSelection();
    return reason.empty() ? TakeInitialValues() : reason;
}

std::uint32_t LoopStart::ContextOf(Owner owner) const
{
    for (const auto& [name, context] : m_tracker.Model().AllContexts().All())
        if (context->owner == owner)
            return name;
    return 0;
}

std::string LoopStart::TakeInitialValues()
{
    const Data::StateModel& model = m_tracker.Model();
    // What the loop sets before it reads it may hold anything.
    const auto mayChange = [this](Slot slot) { return m_selection.touched.contains(slot) || m_needs.isWritten[slot]; };
    m_initialValues.clear();
    for (const Slot slot : m_selection.unset) {
        const std::uint32_t context = ContextOf(model.Slots().OwnerOf(slot));
        std::vector<OutputCall> calls = CallsForInitialValue(model, slot, mayChange);
        if (context == 0 || calls.empty() || !PlaceOf(context))
            return std::string("the state ") + Data::Describe(model.Slots().StateOf(slot)).name +
                   " is set in it for the first time";
        for (OutputCall& call : calls)
            m_initialValues.push_back({context, std::move(call)});
    }
    return "";
}

std::string LoopStart::FaultOfSelection() const
{
    const Data::StateSlots& slots = m_tracker.Model().Slots();
    for (const Slot slot : m_selection.touched)
        if (slots.StateOf(slot) == State::Object && IsFixed(slots.OwnerOf(slot)))
            return "it needs an object that cannot be made anew";
    for (std::size_t record = 0; record < m_begin.begin; ++record) {
        if (!m_selection.isKept[record])
            continue;
        const auto [call, context] = m_origins[record];
        if (call == NoCall)
            return "data that was written to a mapped buffer before it is needed";
        if (IsDrawing(static_cast<CallId>(call)))
            return "what " + NameOf(call) + " drew before it is needed, and the driver does not read that";
        if (!PlaceOf(context))
            return "a context that is gone set what is needed";
    }
    return "";
}

const LoopStart::Place* LoopStart::PlaceOf(std::uint32_t context) const
{
    const auto found = m_contexts.find(context);
    return found != m_contexts.end() ? &found->second : nullptr;
}

} // namespace Trim
