// Records as text, one line each: what playback-info --dump prints.
#pragma once

#include <string>

#include "Data/CaptureSource.h"
#include "Data/RecordCursor.h"

namespace Tools {

/// The call or command of a record, such as "glBindTexture(target=GL_TEXTURE_2D, texture=5)". Long contents are
/// shortened. Nothing in the record is believed: what does not fit is shown as "?".
std::string RecordText(const Data::RecordCursor& record, const Data::CaptureSource& source);

} // namespace Tools
