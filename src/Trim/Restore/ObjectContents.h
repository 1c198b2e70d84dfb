#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "Replay/LiveCalls.h"
#include "Trim/RecordOutput.h"
#include "Trim/Track/StateTracker.h"

namespace Trim {

/// What the GPU wrote to the objects of a share group, as calls that upload it again.
struct ObjectContents {
    std::vector<OutputCall> calls;
    /// The slots that they restore.
    std::vector<Slot> slots;
    /// After a gentle trial: something live is not what it was.
    bool isSpoilt = false;
};

/// Whether it is tried on the live objects that the uploads bring their contents back.
enum class Trial : std::uint8_t {
    None,
    Gentle,  ///< what is there is uploaded once more, so that the objects are as before wherever that is possible
    Thorough ///< after something else, so that the uploads have to do their work
};

/// Reads what was drawn to those textures, renderbuffers and buffers that are wanted from the context that is current
/// on the live driver; `context` is the same as the tracker knows it. Uploads that by trial do not bring back exactly
/// what was there are left out: then the calls that drew are kept instead. Leaves the bindings that KeptState puts back
/// changed.
ObjectContents ReadObjectContents(StateTracker& tracker, const Data::StateContext& context,
                                  const std::function<bool(Owner)>& isWanted, Replay::LiveCalls& live, Trial trial);

/// The same of one object that is known as `info`, without a trial: a texture's images are those of `info.drawn`. The
/// driver can read contents, and nothing restricts transfers.
ObjectContents ReadObject(StateTracker& tracker, Owner owner, const ObjectInfo& info, Replay::LiveCalls& live);

/// Writes the uploads, and puts back the bindings that they change. Uploads are neutral, see NeutralUploads.
void WriteObjectContents(RecordOutput& output, StateTracker& tracker, const Data::StateContext& context,
                         const ObjectContents& contents);

} // namespace Trim
