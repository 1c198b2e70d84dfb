#include "Tools/Info/Dump.h"

#include <algorithm>
#include <optional>
#include <vector>

#include <fnmatch.h>

#include "Data/Capture/SummaryReader.h"
#include "Data/Records/Actions.h"
#include "Data/Records/ProgramEnd.h"
#include "Data/Records/RecordWalk.h"
#include "Data/State/BufferBindings.h"
#include "Interfaces/Util.h"
#include "Tools/Info/RecordText.h"
#include "Tools/Info/Stacks/StackText.h"
#include "Util/Spelling.h"

namespace Tools {

namespace {

void Follow(Data::BufferBindings& bindings, const Data::RecordView& record, const Data::CaptureSource& source)
{
    if (Data::ThreadRecord thread; record.Is(Data::RecordId::Thread) && record.Read(thread))
        bindings.SetThread(thread.thread);
    else if (const std::optional<Data::CallId> call = source.CallOf(record.Header()))
        bindings.Follow({*call, record});
}

/// One listing of a capture.
class Listing {
public:
    Listing(Data::CaptureSource& source, Data::Diagnostics& diagnostics, const DumpChoice& choice,
            const std::function<bool(std::string_view)>& write)
        : m_source(source), m_diagnostics(diagnostics), m_choice(choice),
          m_patterns(Util::String::Tokenize(choice.calls, ",")), m_write(write), m_isLastChosen(m_patterns.empty())
    {
        if (choice.stacks)
            m_stacks.emplace(choice.notation, choice.debugFolders, diagnostics);
    }

    std::uint64_t Run()
    {
        const std::size_t firstChunk = Begin();
        Data::WalkRecords(
            m_source, m_diagnostics, [this](const Data::RecordCursor& record) { Visit(record); }, m_choice.frames.last,
            firstChunk);
        if (m_stacks && !m_stacks->HasAny())
            m_diagnostics.File("has no stacks of these calls; playback-record --stacks records them");
        return m_lines;
    }

private:
    /// Answers the chunk to begin with. What is bound at its start, and the stacks in front, are known from the
    /// summary, and the chunks in front are not read; where it does not tell, all is read.
    std::size_t Begin()
    {
        const std::size_t chunk = m_source.ChunkOfFrame(m_choice.frames.first);
        if (chunk == 0)
            return 0;
        std::string trouble;
        const auto summary = Data::ReadSummary(m_source, trouble);
        if (!trouble.empty())
            m_diagnostics.File("the summary at the end is not used, and the capture read from its start: " + trouble);
        if (!summary || (m_stacks && !summary->stacks))
            return 0;
        for (std::size_t i = 0; i < chunk; ++i)
            m_bindings.Apply(summary->bindings[i]);
        for (std::size_t i = 0; m_stacks && i < summary->stacks->size(); ++i)
            if (const std::size_t number = (*summary->stacks)[i].key; number < chunk)
                TakeStacks(number);
        return chunk;
    }

    void TakeStacks(std::size_t number)
    {
        Data::Chunk chunk;
        const std::string trouble = m_source.ReadChunk(m_source.Chunks()[number], chunk);
        if (!trouble.empty()) {
            m_diagnostics.File(trouble);
            return;
        }
        m_diagnostics.position.chunkOffset = chunk.fileOffset;
        for (Data::RecordCursor cursor(chunk); cursor.Next();)
            if (!cursor.Is(Data::RecordId::CallStack))
                m_stacks->Take(cursor);
    }

    [[nodiscard]] bool IsChosen(std::string_view call)
    {
        if (call != m_lastCall) {
            m_lastCall = call;
            m_isLastChosen = m_patterns.empty() || std::ranges::any_of(m_patterns, [&](const std::string& pattern) {
                                 return fnmatch(pattern.c_str(), std::string(call).c_str(), 0) == 0;
                             });
        }
        return m_isLastChosen;
    }

    void Visit(const Data::RecordCursor& record)
    {
        const std::uint32_t frame = m_diagnostics.position.frame + 1;
        const bool isListed = IsChosen(CallName(record, m_source)) && frame >= m_choice.frames.first;
        RecordPlace place = {frame, m_diagnostics.position.call, m_bindings.Thread(), m_bindings.Context()};
        Visit(record, place, isListed);
        ++place.call;
        for (Data::RecordCursor inner = Data::UnfinishedRecords(record); inner.Next();)
            Visit(inner, place, isListed);
        Follow(m_bindings, record, m_source);
    }

    void Visit(const Data::RecordView& record, RecordPlace place, bool isListed)
    {
        if (m_stacks && m_stacks->Take(record))
            return;
        const bool isCall = record.Header().id < Data::FirstBuiltInId;
        const std::uint32_t stack = m_stacks && isCall ? m_stacks->TakeNext() : 0;
        if (const std::optional<Data::CallId> call = m_source.CallOf(record.Header()))
            place.action = m_actions.Count(*call);
        else if (record.Is(Data::RecordId::FrameEnd))
            m_actions.BeginFrame();
        if (!isListed || !m_goesOn)
            return;
        const std::string text = stack != 0 ? m_stacks->Text(stack) : "";
        m_goesOn = m_write(RecordText(m_choice.notation, place, record, m_source, m_bindings, text) + "\n");
        ++m_lines;
    }

    Data::CaptureSource& m_source;
    Data::Diagnostics& m_diagnostics;
    const DumpChoice& m_choice;
    const std::vector<std::string> m_patterns;
    const std::function<bool(std::string_view)>& m_write;
    Data::BufferBindings m_bindings;
    Data::ActionCounter m_actions;
    std::optional<StackText> m_stacks;
    std::string_view m_lastCall;
    bool m_isLastChosen;
    bool m_goesOn = true;
    std::uint64_t m_lines = 0;
};

} // namespace

std::string CheckChoice(const Data::CaptureSource& source, DumpChoice& choice,
                        const std::function<void(const std::string&)>& note)
{
    // What comes after the last frame counts as one more.
    const std::uint32_t frames = source.FrameCount();
    if (choice.frames.first > frames + 1)
        return "has " + std::to_string(frames) + " frames, expected at least " + std::to_string(choice.frames.first);
    if (choice.frames.last != Util::FrameRange::NoEnd && choice.frames.last > frames + 1)
        note("has " + std::to_string(frames) + " frames; listed up to the last one");
    std::vector<std::string_view> names;
    for (const Data::FileCall& call : source.Calls())
        names.emplace_back(call.name);
    for (const std::string& pattern : Util::String::Tokenize(choice.calls, ",")) {
        const auto matches = [&](int flags) {
            return std::ranges::find_if(names, [&](std::string_view name) {
                return fnmatch(pattern.c_str(), std::string(name).c_str(), flags) == 0;
            });
        };
        if (matches(0) != names.end())
            continue;
        const auto otherCase = matches(FNM_CASEFOLD);
        return "has no function named " + pattern +
               (otherCase != names.end() ? "; names are case-sensitive, such as " + std::string(*otherCase)
                                         : Util::Suggestion(pattern, names));
    }
    return {};
}

std::uint64_t Dump(Data::CaptureSource& source, Data::Diagnostics& diagnostics, const DumpChoice& choice,
                   const std::function<bool(std::string_view)>& write)
{
    return Listing(source, diagnostics, choice, write).Run();
}

} // namespace Tools
