#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "Inspect/Inspector.h"
#include "Inspect/Queries/Query.h"

namespace Inspect {

/// The value, or `otherwise` where it is not given.
std::string TextOf(const Parameters& parameters, const std::string& name, const std::string& otherwise = {});
/// The same for a number; throws Error for text that is none.
std::uint32_t NumberOf(const Parameters& parameters, const std::string& name, std::uint32_t otherwise);
/// The same, where it must be given.
std::uint32_t NumberOf(const Parameters& parameters, const std::string& name);
/// Whether it is given, and not 0.
bool IsSet(const Parameters& parameters, const std::string& name);
/// Which driver "side" asks: a, as without it, or b.
Replays& ReplayOf(Inspector& inspector, const Parameters& parameters);
/// Contents, with what they are in the headers.
Answer ToAnswer(const Json& json, const std::vector<std::uint8_t>& bytes);
/// A request of playback-probe about an object that "name" names.
ReplayAnswer AskAbout(Inspector& inspector, const Parameters& parameters, const char* what, Json more = Json::object());
/// The place that "at" names.
Place PlaceOf(Inspector& inspector, const Parameters& parameters);
/// With the edits, unless "edited" is 0.
Replays::Version VersionOf(const Parameters& parameters);
/// Contents that a replay answered, with what their pixels are. Throws Error where there is a problem instead.
Answer ToAnswer(const Json& json, const std::vector<std::uint8_t>& bytes);

// The requests, by family.
Answer AnswerCapture(Inspector& inspector, const Parameters& parameters);
Answer AnswerLabels(Inspector& inspector, const Parameters& parameters);
Answer AnswerFrames(Inspector& inspector, const Parameters& parameters);
Answer AnswerActions(Inspector& inspector, const Parameters& parameters);
Answer AnswerCall(Inspector& inspector, const Parameters& parameters);
Answer AnswerCalls(Inspector& inspector, const Parameters& parameters);

Answer AnswerState(Inspector& inspector, const Parameters& parameters);
Answer AnswerSetters(Inspector& inspector, const Parameters& parameters);
Answer AnswerResources(Inspector& inspector, const Parameters& parameters);
Answer AnswerUnused(Inspector& inspector, const Parameters& parameters);
Answer AnswerUses(Inspector& inspector, const Parameters& parameters);
Answer AnswerEarlierUses(Inspector& inspector, const Parameters& parameters);

Answer AnswerSnapshots(Inspector& inspector, const Parameters& parameters);
Answer AnswerTargets(Inspector& inspector, const Parameters& parameters);
Answer AnswerPixels(Inspector& inspector, const Parameters& parameters);
Answer AnswerPicture(Inspector& inspector, const Parameters& parameters);
Answer AnswerOverlay(Inspector& inspector, const Parameters& parameters);
Answer AnswerShow(Inspector& inspector, const Parameters& parameters);
Answer AnswerThumbnails(Inspector& inspector, const Parameters& parameters);
Answer AnswerThumbnail(Inspector& inspector, const Parameters& parameters);
Answer AnswerTimes(Inspector& inspector, const Parameters& parameters);
Answer AnswerPixel(Inspector& inspector, const Parameters& parameters);
Answer AnswerInputs(Inspector& inspector, const Parameters& parameters);
Answer AnswerVertices(Inspector& inspector, const Parameters& parameters);
Answer AnswerTexture(Inspector& inspector, const Parameters& parameters);
Answer AnswerImage(Inspector& inspector, const Parameters& parameters);
Answer AnswerBuffer(Inspector& inspector, const Parameters& parameters);
Answer AnswerProgram(Inspector& inspector, const Parameters& parameters);

Answer AnswerEdits(Inspector& inspector, const Parameters& parameters);

Answer AnswerDifference(Inspector& inspector, const Parameters& parameters);
Answer AnswerWrong(Inspector& inspector, const Parameters& parameters);

Answer AnswerExport(Inspector& inspector, const Parameters& parameters);
/// Of a texture that playback-probe has described; `imageOf` answers its images.
Answer ExportTexture(const std::function<ReplayAnswer(std::size_t index)>& imageOf, const Json& texture);
/// `rowsFrom` answers "vertices" from a row on.
Answer ExportMesh(Inspector& inspector, const Place& place, const std::string& format,
                  const std::function<Json(std::uint32_t first)>& rowsFrom);

} // namespace Inspect
