#include "Playback/SkipApiBlockEventHandler.h"

#include <unordered_set>

#include "Interfaces/Core.h"
#include "Playback/PlaybackSettings.h"

namespace Playback {
namespace {

void SkipExactly(const std::unordered_set<unsigned int>& ids)
{
    using Core::KHRLayer;
    KHRLayer::playbackEGLProcTable = KHRLayer::EGLProc();
    KHRLayer::playbackEGLExtProcTable = KHRLayer::EGLExtProc();
    KHRLayer::playbackGLESProcTable = KHRLayer::GLESProc();
    KHRLayer::playbackGLESExtProcTable = KHRLayer::GLESExtProc();
    KHRLayer::SetSkipApis(ids);
    for (const unsigned int id : ids) {
        KHRLayer::ClearEGLApi(id);
        KHRLayer::ClearEGLExtApi(id);
        KHRLayer::ClearGLESApi(id);
        KHRLayer::ClearGLESExpApi(id);
    }
}

} // namespace

void SkipApiBlockEventHandler::BlockStart(Data::BlockType type)
{
    const PlaybackEnvironment& settings = *PlaybackEnvironment::Instance();
    if (type == Data::BlockType::State)
        SkipExactly(settings.m_skipStateApiIds);
    else if (m_frameBlockCount == 0)
        SkipExactly(settings.m_skipFrameApiIds);
    if (type == Data::BlockType::Frame)
        ++m_frameBlockCount;
}

} // namespace Playback
