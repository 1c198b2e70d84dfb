// What came of a comparison, for people and for programs.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "Compare/Result.h"

namespace Compare {

/// Several lines; the first one is the verdict.
std::string ToText(const Result& result, const Request& request);
nlohmann::ordered_json ToJson(const Result& result, const Request& request);

/// Writes expected.png, found.png and difference.png of the wrong action to a folder, which is made. Empty, or what
/// went wrong.
std::string WritePictures(const WrongAction& action, const Tolerance& tolerance, const std::string& folder);

} // namespace Compare
