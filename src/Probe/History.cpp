#include "Probe/History.h"

#include <cstring>

#include <GLES3/gl32.h>

#include "Interfaces/Core.h"
#include "Interfaces/GLState.h"

namespace Probe {

namespace {

template <class T> std::vector<double> Components(const std::uint8_t* at, std::size_t count, double most)
{
    std::vector<double> values;
    for (std::size_t i = 0; i < count; ++i) {
        T value;
        std::memcpy(&value, at + i * sizeof value, sizeof value);
        values.push_back(static_cast<double>(value) / most);
    }
    return values;
}

std::vector<double> PixelIn(const std::vector<Target>& targets, const PixelPlace& place, bool& isThere)
{
    for (const Target& target : targets) {
        if (target.object == place.object && target.what == place.what) {
            isThere = true;
            return PixelOf(target.contents, place.x, place.y);
        }
    }
    return {};
}

bool IsInside(GLenum box, const PixelPlace& place)
{
    GLint values[4] = {};
    Core::KHRLayer::GLESProc().glGetIntegerv(box, values);
    const auto x = static_cast<GLint>(place.x);
    const auto y = static_cast<GLint>(place.y);
    return x >= values[0] && y >= values[1] && x - values[0] < values[2] && y - values[1] < values[3];
}

/// Asks the state in front of a draw or a clear, which it has left as it was.
std::string Obstacle(const PixelPlace& place, Data::ActionKind kind)
{
    const Core::GLESProcTable& gl = Core::KHRLayer::GLESProc();
    const bool isDraw = kind == Data::ActionKind::Draw;
    if (!isDraw && kind != Data::ActionKind::Clear)
        return {};
    if (gl.glIsEnabled(GL_SCISSOR_TEST) && !IsInside(GL_SCISSOR_BOX, place))
        return "outside of the scissor box";
    if (isDraw && !IsInside(GL_VIEWPORT, place))
        return "outside of the viewport";
    if (gl.glIsEnabled(GL_RASTERIZER_DISCARD))
        return "GL_RASTERIZER_DISCARD is on";
    if (place.what == "depth") {
        if (Core::GetInteger(gl, GL_DEPTH_WRITEMASK) == 0)
            return "GL_DEPTH_WRITEMASK is off";
        return isDraw && !gl.glIsEnabled(GL_DEPTH_TEST) ? "GL_DEPTH_TEST is off" : "";
    }
    if (place.what == "stencil")
        return isDraw && !gl.glIsEnabled(GL_STENCIL_TEST) ? "GL_STENCIL_TEST is off" : "";
    GLint mask[4] = {};
    gl.glGetIntegerv(GL_COLOR_WRITEMASK, mask);
    return mask[0] + mask[1] + mask[2] + mask[3] == 0 ? "GL_COLOR_WRITEMASK is off" : "";
}

} // namespace

std::vector<double> PixelOf(const Contents& contents, std::uint32_t x, std::uint32_t y)
{
    if (x >= contents.width || y >= contents.height)
        return {};
    const std::size_t pixel = std::size_t{y} * contents.width + x;
    const std::size_t bytes = contents.data.size() / (std::size_t{contents.width} * contents.height);
    const std::uint8_t* const at = contents.data.data() + pixel * bytes;
    const std::string& kind = contents.components;
    constexpr double Most8 = 255;
    constexpr double MostSigned8 = 127;
    constexpr double Most16 = 65535;
    constexpr double Most32 = 4294967295.0;
    if (kind == "unorm8")
        return Components<std::uint8_t>(at, 4, Most8);
    if (kind == "snorm8")
        return Components<std::int8_t>(at, 4, MostSigned8);
    if (kind == "float")
        return Components<float>(at, 4, 1);
    if (kind == "int")
        return Components<std::int32_t>(at, 4, 1);
    if (kind == "uint")
        return Components<std::uint32_t>(at, 4, 1);
    if (kind == "depth16")
        return Components<std::uint16_t>(at, 1, Most16);
    if (kind == "depth32")
        return Components<std::uint32_t>(at, 1, Most32);
    if (kind == "depthfloat")
        return Components<float>(at, 1, 1);
    return Components<std::uint8_t>(at, 1, 1);
}

std::vector<PixelWrite> PixelHistory(Replayer& replayer, const PixelPlace& place, std::uint32_t last)
{
    std::vector<PixelWrite> writes;
    std::vector<double> before;
    bool isThere = false;
    const bool isFramebuffer = place.object.starts_with("framebuffer ") || place.object == "default framebuffer";
    const auto look = [&] {
        isThere = false;
        // Reading takes long where it is for nothing.
        if (replayer.HasContext() && (!isFramebuffer || replayer.DrawFramebuffer() == place.object))
            before = PixelIn(replayer.Targets(), place, isThere);
    };
    replayer.SetAroundAction(look, {});
    while (replayer.ToAction() == Replayer::Stop::Action && replayer.Action().call <= last) {
        if (!isThere)
            continue;
        const PlayedAction& action = replayer.Action();
        std::vector<double> after = PixelIn(replayer.Targets(), place, isThere);
        const std::string obstacle = before == after ? Obstacle(place, action.kind) : "";
        writes.push_back({action.call, action.function, action.kind, before, std::move(after), obstacle});
    }
    replayer.SetAroundAction({}, {});
    return writes;
}

} // namespace Probe
