#include "Recorder/FrameEnds.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <string>

#include "Data/Capture/CaptureWriter.h"
#include "Recorder/Calls/ReadBack.h"
#include "Recorder/EGLObjects.h"
#include "Recorder/Symbols/LiveFunctions.h"

namespace Recorder {
namespace {

using Kind = Data::FrameEndKind;

constexpr GLenum DrawFramebufferBinding = GL_FRAMEBUFFER_BINDING; // the same in all versions

/// In the place of a kind: it is not known yet what ends frames.
constexpr std::uint32_t UndecidedFrameEnd = 0xFFFFFFFF;
/// A kind that comes so often before the first swap ends frames: what draws to several framebuffers for its first
/// frame, and waits for each, is left to its swaps.
constexpr std::uint32_t DecisiveMarks = 32;
/// Changes under the capture's lock.
std::atomic<std::uint32_t> frameEnd = UndecidedFrameEnd;
bool isLookedFor = true;
/// By kind. Under the capture's lock.
std::array<std::uint32_t, std::size(Data::FrameEndWords)> marks = {};
/// Empty: of any text. Never destroyed, since the program's last thread may come late.
std::string& markerText = *new std::string;

void Decide(const Capturing& capturing, Kind kind, std::uint32_t frames)
{
    frameEnd = static_cast<std::uint32_t>(kind);
    if (std::ranges::any_of(marks, [](std::uint32_t count) { return count != 0; }))
        PutFrameDecision(*capturing.operator->(), kind, frames);
}

std::uint32_t DrawnFramebuffer(Context& context)
{
    if (context.HasDrawnToBound()) {
        GLint bound = 0;
        Live<void (*)(GLenum, GLint*)>(Entry::glGetIntegerv)(DrawFramebufferBinding, &bound);
        context.SetDrawnFramebuffer(static_cast<std::uint32_t>(bound));
    }
    return context.DrawnFramebuffer();
}

Data::FramePictureRecord TakePicture(Context& context, Kind kind)
{
    Data::FramePictureRecord picture = {};
    picture.end = kind;
    picture.framebuffer = DrawnFramebuffer(context);
    if (IsHashWanted(frameEnd == UndecidedFrameEnd ? DecisiveMarks : 0)) {
        const auto hash = ReadBackDrawn(context, picture.framebuffer);
        picture.state = hash ? Data::PictureState::Hashed : Data::PictureState::None;
        if (hash) {
            picture.width = hash->width;
            picture.height = hash->height;
            picture.hash = hash->hash;
        }
    }
    return picture;
}

/// Ends the frame, or marks that it may end here. True as EndFrame.
bool End(const Capturing& capturing, const Data::FramePictureRecord& picture)
{
    const auto kind = static_cast<std::uint32_t>(picture.end);
    if (frameEnd == UndecidedFrameEnd) {
        if (++marks[kind] < DecisiveMarks) {
            PutFrameMark(*capturing.operator->(), picture, Data::MonotonicUs() - capture.channel->startUs);
            return false;
        }
        const std::uint32_t frames = std::min(marks[kind] - 1, FramesWanted());
        Decide(capturing, picture.end, frames);
        if (CountFrames(capturing, frames))
            return true;
    }
    if (frameEnd != kind)
        return false;
    capturing->PutFramePicture(picture);
    return EndFrame(capturing);
}

} // namespace

void SetFrameEnd(std::string_view wanted)
{
    const std::string_view word = wanted.substr(0, wanted.find(':'));
    const auto* const found = std::ranges::find(Data::FrameEndWords, word);
    if (found == std::end(Data::FrameEndWords))
        return;
    isLookedFor = false;
    frameEnd = static_cast<std::uint32_t>(found - Data::FrameEndWords);
    markerText = wanted.substr(std::min(wanted.size(), word.size() + 1));
}

void MayEndFrame(Context& context, Kind kind) noexcept
{
    const std::uint32_t now = frameEnd;
    if (!context.HasDrawn() || (now != static_cast<std::uint32_t>(kind) && now != UndecidedFrameEnd))
        return;
    const Data::FramePictureRecord picture = TakePicture(context, kind);
    context.StartFrame();
    bool isLast = false;
    {
        const Capturing capturing;
        if (!capturing)
            return;
        isLast = End(capturing, picture);
    }
    if (isLast)
        EndRecording();
}

void MayEndFrameAtSync(EGLenum type) noexcept
{
    if (thread.context != nullptr && type != EGL_SYNC_REUSABLE_KHR && type != EGL_SYNC_CL_EVENT)
        MayEndFrame(*thread.context, Kind::Fence);
}

void MayEndFrameAtMarker(Context& context, const char* text, std::int64_t length) noexcept
{
    if (frameEnd != static_cast<std::uint32_t>(Kind::Marker) || text == nullptr)
        return;
    const std::string_view marker(text, length < 0 ? std::strlen(text) : static_cast<std::size_t>(length));
    if (markerText.empty() || marker == markerText)
        MayEndFrame(context, Kind::Marker);
}

void BeforeFramebufferChange(Context& context) noexcept
{
    if (frameEnd != static_cast<std::uint32_t>(Kind::Swap))
        static_cast<void>(DrawnFramebuffer(context));
}

bool MaySwapsEndFrames() noexcept
{
    return isLookedFor || frameEnd == static_cast<std::uint32_t>(Kind::Swap);
}

void ExpectSwaps(const Capturing& capturing) noexcept
{
    if (capturing && isLookedFor && frameEnd != static_cast<std::uint32_t>(Kind::Swap))
        Decide(capturing, Kind::Swap, 0);
}

} // namespace Recorder
