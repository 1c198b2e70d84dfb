// Records as text, one line each: what playback-info --dump prints.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Data/Capture/CaptureSource.h"
#include "Data/Records/Actions.h"
#include "Data/Records/RecordView.h"
#include "Tools/Info/Notation.h"

namespace Tools {

/// Where a record is and who made it.
struct RecordPlace {
    /// Frame, counted from 1, and call in the frame.
    std::uint32_t frame = 1;
    std::uint32_t call = 0;
    std::uint32_t thread = 0;
    /// Captured context; 0 for none.
    std::uint32_t context = 0;
    /// Of a draw, clear ...
    std::optional<Data::ActionNumber> action = {};
};

/// The function of a record; empty for a record that is no call.
std::string_view CallName(const Data::RecordView& record, const Data::CaptureSource& source);

/// `bindings` are those in front of the record. A line such as "3:17 t1 c1
/// glBindTexture(target=GL_TEXTURE_2D, texture=5)", or a JSON object. Draws and other actions have their number at the
/// end. Records that are no calls begin with "--" after their place. `stack` is what StackText has of the call, put
/// after it or into the object.
std::string RecordText(Notation notation, const RecordPlace& place, const Data::RecordView& record,
                       const Data::CaptureSource& source, const Data::BufferBindings& bindings,
                       std::string_view stack = {});

} // namespace Tools
