#include "Probe/Actions/History.h"

#include <algorithm>
#include <set>
#include <utility>

#include "Probe/Contents/Numbers.h"
#include "Probe/LiveGL.h"

namespace Probe {

namespace {

/// A pixel of one of the images that an action could write to.
struct SeenPixel {
    std::string object;
    std::string what;
    std::string image;
    std::vector<double> value;
};

std::vector<SeenPixel> PixelsIn(std::vector<Target> targets, const PixelPlace& place)
{
    std::vector<SeenPixel> pixels;
    for (Target& target : targets)
        pixels.push_back({std::move(target.object), std::move(target.what), std::move(target.image),
                          PixelOf(target.contents, place.x, place.y)});
    return pixels;
}

bool IsInside(GLenum box, const PixelPlace& place)
{
    GLint values[4] = {};
    GL().glGetIntegerv(box, values);
    const auto x = static_cast<GLint>(place.x);
    const auto y = static_cast<GLint>(place.y);
    return x >= values[0] && y >= values[1] && x - values[0] < values[2] && y - values[1] < values[3];
}

/// Asks the state in front of a draw or a clear, which it has left as it was.
std::string Obstacle(const PixelPlace& place, Data::ActionKind kind)
{
    const Core::GLESProcTable& gl = GL();
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
    const PixelKind& kind = *FindKind(contents.components);
    const auto [bytes, one, load] = DescribeNumber(kind.type);
    const std::size_t pixel = std::size_t{y} * contents.width + x;
    std::vector<double> numbers;
    for (std::size_t i = 0; i < kind.numbers; ++i)
        numbers.push_back(load(&contents.data[(pixel * kind.numbers + i) * bytes]) / (kind.isNormalized ? one : 1));
    return numbers;
}

namespace {

/// An action, and what it could write to in front of it and after it. Which of that is the image is known once the
/// history has come to where it was chosen.
struct SeenAction {
    PixelWrite write;
    std::vector<SeenPixel> before;
    std::vector<SeenPixel> after;
};

/// The first one that `is` holds for.
template <class Is> const SeenPixel* Find(const std::vector<SeenPixel>& pixels, Is is)
{
    const auto found = std::ranges::find_if(pixels, is);
    return found != pixels.end() ? &*found : nullptr;
}

/// The same image is reached by other framebuffers, and by its texture.
std::set<std::string> ImagesAt(const std::vector<SeenAction>& actions, const PixelPlace& place)
{
    std::set<std::string> images;
    for (const SeenAction& action : actions)
        for (const SeenPixel& pixel : action.before)
            if (pixel.object == place.object && pixel.what == place.what && !pixel.image.empty())
                images.insert(pixel.image);
    return images;
}

} // namespace

std::vector<PixelWrite> PixelHistory(Replayer& replayer, const PixelPlace& place, std::uint32_t last)
{
    const bool isOfWindow = place.object == "default framebuffer";
    std::vector<SeenAction> actions;
    std::vector<SeenPixel> before;
    const auto look = [&] {
        before.clear();
        // Reading takes long where it is for nothing: nothing else leads to the image of a window.
        if (replayer.HasContext() && (!isOfWindow || replayer.DrawFramebuffer() == place.object))
            before = PixelsIn(replayer.Targets(), place);
    };
    while (replayer.ToAction(look) == Replayer::Stop::Action && replayer.Action().call <= last) {
        if (before.empty())
            continue;
        const PlayedAction& action = replayer.Action();
        actions.push_back({{action.call, action.function, action.kind, {}, {}, Obstacle(place, action.kind)},
                           std::move(before),
                           PixelsIn(replayer.Targets(), place)});
        before = {};
    }

    const std::set<std::string> images = ImagesAt(actions, place);
    std::vector<PixelWrite> writes;
    for (SeenAction& action : actions) {
        const auto is = [&](const SeenPixel& pixel) {
            return pixel.image.empty() ? pixel.object == place.object && pixel.what == place.what
                                       : images.contains(pixel.image);
        };
        const SeenPixel* const was = Find(action.before, is);
        const SeenPixel* const became = Find(action.after, is);
        if (!was)
            continue;
        action.write.before = was->value;
        action.write.after = became ? became->value : std::vector<double>();
        if (action.write.before != action.write.after)
            action.write.obstacle.clear();
        writes.push_back(std::move(action.write));
    }
    return writes;
}

} // namespace Probe
