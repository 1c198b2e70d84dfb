#pragma once

#include <cstdint>
#include <vector>

#include "Playback/GLResourceTable.h"
#include "Tools/Trim/LiveGL.h"
#include "Tools/Trim/RecordOutput.h"
#include "Tools/Trim/StateTracker.h"

namespace Tools::Trim {

/// Pixels of one image of a texture, as glTexSubImage2D takes them: rows packed.
struct ImageContents {
    Image image;
    ImageSize size;
    Transfer transfer;
    std::vector<std::uint8_t> pixels;
};

struct TextureContents {
    Owner texture = 0;
    /// Levels behind the first come from glGenerateMipmap, and have memory only after that call.
    bool hasMipmaps = false;
    std::vector<ImageContents> images;
};

struct BufferContents {
    Owner buffer = 0;
    std::vector<std::uint8_t> bytes;
};

/// What the GPU wrote to the objects of a share group, as far as it can be read back and uploaded again exactly, which
/// is tried on the live objects. What cannot be is not here: the calls that drew it are kept instead.
struct ObjectContents {
    std::vector<TextureContents> textures;
    std::vector<BufferContents> buffers;

    /// The slots whose contents these are.
    [[nodiscard]] std::vector<Slot> Slots(StateTracker& tracker) const;
};

/// Reads from the context that is current on the live driver; `context` is the same as the tracker knows it. Leaves the
/// live state changed.
ObjectContents ReadObjectContents(StateTracker& tracker, const ContextState& context,
                                  const Playback::GLResourceTable& names);

/// Writes the uploads, and puts back the bindings that they need. Uploads are neutral, see NeutralUploads.
void WriteObjectContents(RecordOutput& output, StateTracker& tracker, const ContextState& context,
                         const ObjectContents& contents);

} // namespace Tools::Trim
