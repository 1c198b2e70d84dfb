#include "Tools/Info/Dump.h"

#include <algorithm>
#include <vector>

#include <fnmatch.h>

#include "Data/Records/CallDecoder.h"
#include "Data/Records/RecordWalk.h"
#include "Interfaces/Util.h"
#include "Tools/Info/RecordText.h"
#include "Util/Spelling.h"

namespace Tools {

namespace {

/// Has the decoder follow the state of the capture. The record's bytes may be changed.
void Follow(Data::CallDecoder& decoder, const Data::RecordCursor& record, const Data::CaptureSource& source)
{
    const std::uint32_t id = record.Header().id;
    const std::uint32_t call = id < source.Calls().size() ? source.Calls()[id].known : Data::callCount;
    if (Data::ThreadRecord thread; record.Is(Data::RecordId::Thread) && record.Read(thread))
        decoder.SetThread(thread.thread);
    else if (call < Data::callCount)
        decoder.Decode(static_cast<Data::CallId>(call), record.Record());
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
    Data::Diagnostics quiet(diagnostics.FileName(), nullptr);
    Data::CallDecoder decoder(quiet);
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
            if (goesOn && isLastChosen && frame >= choice.frames.first) {
                const Data::ClientState& client = decoder.Client();
                const RecordPlace place = {frame, diagnostics.position.call, client.Thread(), client.ContextName()};
                goesOn = write(RecordText(choice.notation, place, record, source, decoder.Context()) + "\n");
                ++lines;
            }
            Follow(decoder, record, source);
        },
        choice.frames.last);
    return lines;
}

} // namespace Tools
