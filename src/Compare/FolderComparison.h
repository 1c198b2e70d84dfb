#pragma once

#include <string>

#include "Compare/Result.h"
#include "Util/Failure.h"

namespace Compare {

/// Compares the PNG pictures of two folders by their names, as playback -screenshots writes them on two machines. Those
/// of `request.capture` are expected, those of `request.foundFolder` found; one that only one of them has differs.
Util::Outcome CompareFolders(const Request& request, Result& result);

} // namespace Compare
