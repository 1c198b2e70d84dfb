// The page that shows a comparison in a browser.
#include "Util/Page.h"
#include "Compare/Pages.h"
#include "Compare/ResultText.h"
#include "Util/ImageFile.h"
#include "Util/OutputFile.h"

namespace Compare {

namespace {

using Json = nlohmann::ordered_json;

std::string Png(const Util::Image& picture)
{
    return Util::Base64(Util::EncodePng(picture));
}

/// Of the wrong action, or of the first wrong frame where no action is known; empty without any.
Json Pictures(const Result& result, const Tolerance& tolerance)
{
    const FrameResult* const frame = result.FirstWrong();
    if (!result.action && !frame)
        return {};
    const Image& expected = result.action ? result.action->expected : frame->expected;
    const Image& found = result.action ? result.action->found : frame->found;
    if (!expected.IsWhole() || !found.IsWhole() || expected.data.empty())
        return {};
    Json pictures = {{"expected", Png(ToPicture(expected))}, {"found", Png(ToPicture(found))}};
    if (expected.kind == found.kind && expected.data.size() == found.data.size())
        pictures["difference"] = Png(DifferencePicture(expected, found, tolerance.steps));
    return pictures;
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
