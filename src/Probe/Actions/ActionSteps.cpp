#include "Probe/Actions/ActionSteps.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "Interfaces/Core.h"
#include "Util/FramebufferReader.h"

namespace Probe {

namespace {

Contents ReadColor()
{
    return ToContents(Util::FramebufferReader().ReadColor());
}

void* CurrentContext()
{
    return Core::KHRLayer::EGLProc().eglGetCurrentContext();
}

bool DrawsToFramebuffer(Data::ActionKind kind)
{
    return kind == Data::ActionKind::Draw || kind == Data::ActionKind::Clear || kind == Data::ActionKind::Blit;
}

} // namespace

Json FailedOf(const std::vector<PlayedAction>& actions)
{
    Json failed = Json::array();
    for (const PlayedAction& one : actions)
        failed.push_back({{"call", one.call}, {"function", one.function}});
    return failed;
}

Json DescribeCall(const Replayer& replayer)
{
    const PlayedAction& action = replayer.Action();
    return {{"frame", action.frame},   {"call", action.call},         {"function", action.function},
            {"thread", action.thread}, {"isPlayed", action.isPlayed}, {"failed", FailedOf(replayer.Failed())}};
}

ChangedPart FindChange(const Contents& before, const Contents& after)
{
    if (after.data.empty() || before.data.size() != after.data.size() || before.width != after.width ||
        before.components != after.components)
        return {};
    const std::size_t pixelBytes = after.data.size() / (std::size_t{after.width} * after.height);
    const std::size_t rowBytes = pixelBytes * after.width;
    std::uint32_t left = after.width;
    std::uint32_t right = 0;
    std::uint32_t bottom = after.height;
    std::uint32_t top = 0;
    for (std::uint32_t y = 0; y < after.height; ++y) {
        const auto* const old = before.data.data() + y * rowBytes;
        const auto* const row = after.data.data() + y * rowBytes;
        if (std::memcmp(old, row, rowBytes) == 0)
            continue;
        const auto first = static_cast<std::uint32_t>((std::mismatch(row, row + rowBytes, old).first - row) /
                                                      static_cast<std::ptrdiff_t>(pixelBytes));
        std::size_t end = rowBytes;
        while (old[end - 1] == row[end - 1])
            --end;
        left = std::min(left, first);
        right = std::max(right, static_cast<std::uint32_t>((end - 1) / pixelBytes + 1));
        bottom = std::min(bottom, y);
        top = y + 1;
    }
    if (right <= left)
        return {};
    ChangedPart part = {left, bottom, {after.components, right - left, top - bottom, {}, {}}};
    for (std::uint32_t y = bottom; y < top; ++y) {
        const auto* const row = after.data.data() + y * rowBytes;
        part.contents.data.insert(part.contents.data.end(), row + left * pixelBytes, row + right * pixelBytes);
    }
    return part;
}

/// What was drawn to last is known already, unless something else is drawn to now.
void ActionSteps::LookBefore(Replayer& replayer)
{
    const auto call = replayer.LastCall();
    if (!call || !replayer.HasContext() || !DrawsToFramebuffer(Data::ActionOf(call->Call())))
        return;
    std::string target = replayer.DrawFramebuffer();
    if (m_last.contents.data.empty() || m_last.target != target || m_last.context != CurrentContext())
        m_last = {std::move(target), CurrentContext(), ReadColor()};
}

Reply ActionSteps::Next(Replayer& replayer)
{
    const auto place = [&replayer] { return std::pair(replayer.Frames(), replayer.Call()); };
    if (m_at != place())
        Forget();
    const Replayer::Stop stop = replayer.ToAction([&] { LookBefore(replayer); });
    m_at = place();
    if (stop != Replayer::Stop::Action) {
        Forget();
        return {{{"end", true}, {"failed", FailedOf(replayer.FailedOfFrame())}}};
    }
    Json call = DescribeCall(replayer);
    if (!DrawsToFramebuffer(replayer.Action().kind) || !replayer.HasContext())
        return {std::move(call)};
    Contents after = ReadColor();
    ChangedPart part = FindChange(m_last.contents, after);
    m_last.contents = std::move(after);
    if (part.contents.data.empty())
        return {std::move(call)};
    Reply reply = ToReply(std::move(part.contents));
    reply.json.update(call);
    reply.json.update({{"x", part.x}, {"y", part.y}});
    return reply;
}

} // namespace Probe
