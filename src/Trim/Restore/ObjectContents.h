#pragma once

#include <cstdint>
#include <vector>

#include "Trim/RecordOutput.h"
#include "Trim/Restore/LiveCalls.h"
#include "Trim/Track/StateTracker.h"

namespace Trim {

/// What the GPU wrote to the objects of a share group, as calls that upload it again.
struct ObjectContents {
    std::vector<OutputCall> calls;
    /// The slots that they restore.
    std::vector<Slot> slots;
};

/// Reads what was drawn to textures, renderbuffers and buffers from the context that is current on the live driver;
/// `context` is the same as the tracker knows it. Each upload is tried on the live object and left out when it does not
/// bring back exactly what was there: then the calls that drew are kept instead. Leaves the live state changed.
ObjectContents ReadObjectContents(StateTracker& tracker, const Data::StateContext& context, LiveCalls& live);

/// The same of one object that is known as `info`, without a trial: a texture's images are those of `info.drawn`. The
/// driver can read contents, and nothing restricts transfers.
ObjectContents ReadObject(StateTracker& tracker, Owner owner, const ObjectInfo& info, LiveCalls& live);

/// Writes the uploads, and puts back the bindings that they change. Uploads are neutral, see NeutralUploads.
void WriteObjectContents(RecordOutput& output, StateTracker& tracker, const Data::StateContext& context,
                         const ObjectContents& contents);

} // namespace Trim
