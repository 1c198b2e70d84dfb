#include "Tools/Info/Dump.h"

#include <algorithm>
#include <vector>

#include <fnmatch.h>

#include "Data/Capture/SummaryReader.h"
#include "Data/Records/ProgramEnd.h"
#include "Data/Records/RecordWalk.h"
#include "Data/State/BufferBindings.h"
#include "Interfaces/Util.h"
#include "Tools/Info/RecordText.h"
#include "Util/Spelling.h"

namespace Tools {

namespace {

void Follow(Data::BufferBindings& bindings, const Data::RecordView& record, const Data::CaptureSource& source)
{
    const std::uint32_t id = record.Header().id;
    const std::uint32_t call = id < source.Calls().size() ? source.Calls()[id].known : Data::callCount;
    if (Data::ThreadRecord thread; record.Is(Data::RecordId::Thread) && record.Read(thread))
        bindings.SetThread(thread.thread);
    else if (call < Data::callCount)
        bindings.Follow({static_cast<Data::CallId>(call), record});
}

/// The chunk to begin with for a listing from frame `frame` on, and what is bound at its start. The summary has the
/// bindings of the chunks in front, which are not read then; where there is none, all is read.
std::size_t Begin(Data::CaptureSource& source, Data::Diagnostics& diagnostics, std::uint32_t frame,
                  Data::BufferBindings& bindings)
{
    const std::size_t chunk = source.ChunkOfFrame(frame);
    if (chunk == 0)
        return 0;
    std::string trouble;
    const auto summary = Data::ReadSummary(source, trouble);
    if (!trouble.empty())
        diagnostics.File("the summary at the end is not used, and the capture read from its start: " + trouble);
    for (std::size_t i = 0; summary && i < chunk; ++i)
        bindings.Apply(summary->bindings[i]);
    return summary ? chunk : 0;
}

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
    const std::vector<std::string> patterns = Util::String::Tokenize(choice.calls, ",");
    const auto isChosen = [&](std::string_view call) {
        return patterns.empty() || std::ranges::any_of(patterns, [&](const std::string& pattern) {
                   return fnmatch(pattern.c_str(), std::string(call).c_str(), 0) == 0;
               });
    };
    std::uint64_t lines = 0;
    bool goesOn = true;
    Data::BufferBindings bindings;
    const std::size_t firstChunk = Begin(source, diagnostics, choice.frames.first, bindings);
    std::string_view lastCall;
    bool isLastChosen = patterns.empty();
    Data::WalkRecords(
        source, diagnostics,
        [&](const Data::RecordCursor& record) {
            const std::uint32_t frame = diagnostics.position.frame + 1;
            const std::string_view call = CallName(record, source);
            if (call != lastCall) {
                lastCall = call;
                isLastChosen = isChosen(call);
            }
            RecordPlace place = {frame, diagnostics.position.call, bindings.Thread(), bindings.Context()};
            const auto list = [&](const Data::RecordView& listed) {
                goesOn = write(RecordText(choice.notation, place, listed, source, bindings) + "\n");
                ++lines;
            };
            if (goesOn && isLastChosen && frame >= choice.frames.first) {
                list(record);
                ++place.call;
                for (Data::RecordCursor inner = Data::UnfinishedRecords(record); inner.Next();)
                    list(inner);
            }
            Follow(bindings, record, source);
        },
        choice.frames.last, firstChunk);
    return lines;
}

} // namespace Tools
