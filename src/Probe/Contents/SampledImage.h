#pragma once

#include "Probe/Contents/Contents.h"
#include "Probe/Contents/ObjectContents.h"

namespace Probe {

/// Reads an image of a live texture that no framebuffer takes, compressed and luminance ones for instance, by drawing
/// it: as floating-point numbers where the driver draws to them, else as bytes. Needs OpenGL ES 3. Textures of integers
/// and of several samples are not read so, nor is anything while the program counts samples or primitives.
///
/// All GL state is put back; pending errors are lost.
Contents ReadSampled(unsigned int texture, const TextureImage& image);

} // namespace Probe
