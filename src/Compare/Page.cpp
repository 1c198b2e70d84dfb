// The page that shows a comparison in a browser.
#include "Util/Page.h"
#include "Compare/Pages.h"
#include "Compare/ResultText.h"
#include "Util/ImageFile.h"
#include "Util/OutputFile.h"

namespace Compare {

namespace {

using Json = nlohmann::ordered_json;

/// Of the wrong action, or of the first wrong frame where no action is known; empty without any.
Json Pictures(const Result& result, const Tolerance& tolerance)
{
    const FrameResult* const frame = result.FirstWrong();
    if (!result.action && !frame)
        return {};
    const Image& expected = result.action ? result.action->expected : frame->expected;
    const Image& found = result.action ? result.action->found : frame->found;
    Json pictures;
    for (const auto& [name, picture] : PicturesOf(expected, found, tolerance))
        pictures[name] = Util::Base64(Util::EncodePng(picture));
    return pictures.contains("expected") && pictures.contains("found") ? pictures : Json();
}

} // namespace

std::string WritePage(const Result& result, const Request& request, const std::string& file)
{
    Json data = ToJson(result, request);
    data["pictures"] = Pictures(result, request.tolerance);
    const std::string text = Util::JsonForPage(data.dump(-1, ' ', false, Json::error_handler_t::replace));
    return Util::WriteWholeFile(
        file, Util::FillPage(Pages::page, {{"style", Pages::style}, {"script", Pages::script}, {"data", text}}));
}

} // namespace Compare
