// What came of a comparison, for people and for programs.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "Compare/Result.h"

namespace Compare {

/// Several lines; the first one is the verdict.
std::string ToText(const Result& result, const Request& request);
nlohmann::ordered_json ToJson(const Result& result, const Request& request);

/// Writes a page that shows the result in a browser, whole in one file. Empty, or what went wrong.
std::string WritePage(const Result& result, const Request& request, const std::string& file);

/// Writes expected.png, found.png and difference.png of the wrong action to a folder, which is made. Empty, or what
/// went wrong.
std::string WritePictures(const WrongAction& action, const Tolerance& tolerance, const std::string& folder);

} // namespace Compare
