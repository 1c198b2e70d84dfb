#include "Tools/Info/Dump.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <vector>

#include <fnmatch.h>

#include "Data/CallParameters.h"
#include "Data/RecordWalk.h"
#include "Interfaces/Util.h"
#include "Tools/Info/RecordText.h"

namespace Tools {

namespace {

std::uint32_t ReadU32(const Data::RecordCursor& record, std::uint32_t at)
{
    std::uint32_t value = 0;
    if (at + sizeof value <= record.Header().bytes)
        std::memcpy(&value, record.Record() + at, sizeof value);
    return value;
}

/// Follows which thread uses which context.
class Contexts {
public:
    [[nodiscard]] std::uint32_t Thread() const { return m_thread; }
    [[nodiscard]] std::uint32_t Context() const
    {
        const auto found = m_ofThread.find(m_thread);
        return found != m_ofThread.end() ? found->second : 0;
    }

    void Follow(const Data::RecordCursor& record, std::string_view call)
    {
        if (Data::ThreadRecord thread; record.Is(Data::RecordId::Thread) && record.Read(thread)) {
            m_thread = thread.thread;
        } else if (call == "eglMakeCurrent") {
            constexpr auto id = Data::CallId::eglMakeCurrent;
            if (ReadU32(record, Data::ReturnOf(id)->at) != 0)
                m_ofThread[m_thread] = ReadU32(record, Data::ParametersOf(id).back().at);
        }
    }

private:
    std::uint32_t m_thread = 0;
    std::map<std::uint32_t, std::uint32_t> m_ofThread;
};

} // namespace

void Dump(Data::CaptureSource& source, Data::Diagnostics& diagnostics, const DumpChoice& choice,
          const std::function<void(const std::string&)>& write)
{
    const std::vector<std::string> patterns = Util::String::Tokenize(choice.calls, ",");
    const auto isChosen = [&](std::string_view call) {
        return patterns.empty() || std::ranges::any_of(patterns, [&](const std::string& pattern) {
                   return fnmatch(pattern.c_str(), std::string(call).c_str(), 0) == 0;
               });
    };
    Contexts contexts;
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
            if (isLastChosen && frame >= choice.frames.first) {
                const RecordPlace place = {frame, diagnostics.position.call, contexts.Thread(), contexts.Context()};
                write(RecordText(choice.notation, place, record, source) + "\n");
            }
            contexts.Follow(record, call);
        },
        choice.frames.last);
}

} // namespace Tools
