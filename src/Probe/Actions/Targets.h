// What an action has changed: the images and buffers that it could write to.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Data/Records/CallArguments.h"
#include "Data/State/StateModel.h"
#include "Playback/Names/GLResourceTable.h"
#include "Probe/Contents/ObjectContents.h"

namespace Probe {

/// Where contents are on the live driver.
struct Place {
    enum class Kind : std::uint8_t { Color, Depth, Stencil, Image, Buffer };
    Kind kind = Kind::Buffer;
    /// Of the framebuffer bound for drawing; the buffer that is drawn to of Color.
    unsigned int colorBuffer = 0;
    /// Live name of a texture or buffer.
    unsigned int object = 0;
    TextureImage image = {};
};

/// An image or a buffer, in the names of the capture.
struct Target {
    Place place;
    /// "colour 0", "depth", "stencil", "level 2, layer 1", "buffer" ...
    std::string what;
    /// "framebuffer 3", "default framebuffer", "texture 5", "buffer 7".
    std::string object;
    /// The same for whatever leads to the same image on the live driver; empty where nothing else does.
    std::string image;
    Contents contents;
};

/// The framebuffer that is drawn to: "framebuffer 3" or "default framebuffer".
std::string FramebufferText(Data::StateModel& model);

/// Reads what the action just replayed could write to, of the current context: the colour buffers that are drawn to,
/// depth and stencil, for calls that are no actions too; for copies and mipmaps the images of their texture, and
/// buffers and images that shaders can write to. `model` has followed the call too. All GL state is put back; pending
/// errors are lost.
std::vector<Target> ReadTargets(const Data::CallArguments& action, Data::StateModel& model,
                                const Playback::GLResourceTable& names);

/// Writes contents of the size and components that are there back to where the action wrote; the same context and
/// framebuffers are current. False where that did not bring them back exactly: multisampled images cannot be written.
bool WriteTarget(const Place& place, const Contents& contents);

/// Reads colour 0 of a live framebuffer, and the default one's back buffer for 0.
Contents ReadPicture(unsigned int framebuffer);

} // namespace Probe
