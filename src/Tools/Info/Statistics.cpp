#include "Tools/Info/Statistics.h"

#include <algorithm>

#include "Data/Capture/CaptureFile.h"
#include "Tools/Info/CallCounter.h"

namespace Tools {

namespace {

struct ExtensionCall {
    Data::CallId call;
    const char* extension;
};
using Data::CallId;
// Ordered by call.
constexpr ExtensionCall ExtensionCalls[] = {
#include "Tools/Info/Extensions.inc"
};

template <class Key, class Count> void Add(std::map<Key, Count>& sums, const std::map<Key, Count>& counts)
{
    for (const auto& [key, count] : counts)
        sums[key] += count;
}

/// Cuts what is counted into the parts of the capture.
class Parts final : public Data::BlockEventHandler {
public:
    Parts(CallCounter& counter, CaptureStatistics& statistics) : m_counter(counter), m_statistics(statistics) {}

    void BlockStart(Data::BlockType /*type*/) override {}
    void BlockEnd(Data::BlockType type) override
    {
        if (type == Data::BlockType::State) {
            m_statistics.setup = m_counter.Take();
            m_statistics.total += *m_statistics.setup;
        }
    }
    void FrameEnd()
    {
        m_statistics.frames.push_back(m_counter.Take());
        m_statistics.total += m_statistics.frames.back();
    }
    void End()
    {
        m_statistics.rest = m_counter.Take();
        m_statistics.total += m_statistics.rest;
    }

private:
    CallCounter& m_counter;
    CaptureStatistics& m_statistics;
};

} // namespace

DrawCount& DrawCount::operator+=(const DrawCount& other)
{
    calls += other.calls;
    instances += other.instances;
    vertices += other.vertices;
    unknown += other.unknown;
    return *this;
}

FrameStatistics& FrameStatistics::operator+=(const FrameStatistics& next)
{
    calls += next.calls;
    Add(draws, next.draws);
    dispatches.calls += next.dispatches.calls;
    dispatches.groups += next.dispatches.groups;
    dispatches.unknown += next.dispatches.unknown;
    Add(clears, next.clears);
    Add(blits, next.blits);
    bufferBytes += next.bufferBytes;
    mappedBytes += next.mappedBytes;
    textureBytes += next.textureBytes;
    clientArrayBytes += next.clientArrayBytes;
    Add(waits, next.waits);
    Add(readBacks, next.readBacks);
    readBytes += next.readBytes;
    bytesReadToBuffers += next.bytesReadToBuffers;
    bytesMappedToRead += next.bytesMappedToRead;
    Add(shaders, next.shaders);
    shadersCompiled += next.shadersCompiled;
    programs += next.programs;
    programsLinked += next.programsLinked;
    Add(extensionCalls, next.extensionCalls);
    Add(stateChanges, next.stateChanges);
    Add(redundantChanges, next.redundantChanges);
    for (std::size_t kind = 0; kind < Data::objectKinds; ++kind)
        objects[kind] = {next.objects[kind].alive, std::max(objects[kind].most, next.objects[kind].most)};
    return *this;
}

const char* ExtensionOf(Data::CallId call)
{
    const auto* const found =
        std::lower_bound(std::begin(ExtensionCalls), std::end(ExtensionCalls), call,
                         [](const ExtensionCall& entry, Data::CallId wanted) { return entry.call < wanted; });
    return found != std::end(ExtensionCalls) && found->call == call ? found->extension : nullptr;
}

std::optional<CaptureStatistics> CollectStatistics(const std::string& path, Data::Report report, std::string& error,
                                                   Util::FrameRange frames)
{
    const auto capture = Data::CaptureFile::Open(path, Data::Preload::No, std::move(report), error);
    if (!capture)
        return std::nullopt;
    CaptureStatistics statistics;
    CallCounter counter(capture->GetFrameProcessor()->Calls());
    Parts parts(counter, statistics);
    capture->SetAdapter(static_cast<Data::GLAdapter*>(&counter));
    capture->SetAdapter(static_cast<Data::EGLAdapter*>(&counter));
    capture->Add(&parts);
    while (capture->GetCurrentFrame() < frames.last && capture->GetFrameProcessor()->ProcessNextFrame()) {
        parts.FrameEnd();
        if (capture->GetCurrentFrame() < frames.first)
            statistics = {};
    }
    statistics.firstFrame = frames.first;
    statistics.hasRest = capture->GetCurrentFrame() < frames.last;
    if (statistics.hasRest)
        parts.End();
    statistics.refusedCalls = capture->SkippedCalls();
    statistics.isIncomplete = capture->IsIncomplete();
    return statistics;
}

void SetCalls(CaptureStatistics& statistics, const Data::SummaryCounts& counts)
{
    statistics.total.calls = counts.calls;
    if (statistics.setup)
        statistics.setup->calls = counts.stateBlockCalls;
    for (std::size_t i = 0; i < counts.byFrame.size(); ++i)
        (i < statistics.frames.size() ? statistics.frames[i] : statistics.rest).calls += counts.byFrame[i].calls;
}

} // namespace Tools
