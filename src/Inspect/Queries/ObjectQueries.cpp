// What a call reads, and what is in the objects that it can name.
#include <algorithm>
#include <iterator>

#include "Inspect/Error.h"
#include "Inspect/Formats/MeshFile.h"
#include "Inspect/Formats/Picture.h"
#include "Inspect/Formats/TextureFile.h"
#include "Inspect/Queries/Request.h"
#include "Tools/Info/Notation.h"

namespace Inspect {

namespace {

Answer Inputs(const Request& request)
{
    Json json = {{"at", request.NameOf(request.At())}};
    json.update(request.Ask({{"do", "inputs"}}).json);
    return json;
}

Json Rows(const Request& request, std::size_t first, std::size_t count)
{
    return request.AskVertices({{"first", first},
                                {"count", count},
                                {"shaded", request.Number("shaded", 0) != 0},
                                {"instance", request.Number("instance", 0)}});
}

/// All vertices of a draw as a file.
Answer ExportMesh(const Request& request)
{
    const bool isObj = request.OneOf("format", "obj", "gltf") == "obj";
    Json all = Rows(request, 0, MostRows);
    Json& rows = all["rows"];
    while (rows.size() < all.value("count", std::size_t{0})) {
        Json more = Rows(request, rows.size(), MostRows);
        if (more["rows"].empty())
            break;
        std::ranges::move(more["rows"], std::back_inserter(rows));
    }
    const Place place = request.At();
    const std::string text = request.inspector.Calls(place.frame)->calls[place.call - 1].text;
    constexpr std::string_view Mode = "mode=";
    const std::size_t begin = text.find(Mode) + Mode.size();
    const Mesh mesh = ToMesh(all, std::string_view(text).substr(begin, text.find_first_of(",)", begin) - begin));
    return isObj ? Answer("model/obj", ToObj(mesh)) : Answer("model/gltf+json", ToGltf(mesh));
}

Answer Vertices(const Request& request)
{
    if (request.Has("format"))
        return ExportMesh(request);
    Json json = Rows(request, request.Number("first", 0), std::min(request.Number("count", MostRows), MostRows));
    for (Json& array : json["arrays"])
        array["type"] = Tools::EnumText(array["type"].get<std::uint32_t>());
    return json;
}

Answer Texture(const Request& request)
{
    Json json = request.AskAbout("texture").json;
    const bool isFile = request.OneOf("format", "json", "ktx") == "ktx";
    const std::uint32_t format = json.value("format", 0U);
    json["format"] = Tools::EnumText(format);
    if (!isFile)
        return json;
    TextureImages all = {json.value("target", 0U), format, {}};
    for (std::size_t i = 0; i < json["images"].size(); ++i) {
        const ReplayAnswer image = request.AskAbout("image", {{"index", i}});
        all.images.push_back({json["images"][i].value("level", 0U), ImageOf(image)});
    }
    return {"image/ktx", ToKtx(all)};
}

Answer Image(const Request& request)
{
    Json about = {{"index", request.Number("index", 0)}};
    if (request.Has("shader"))
        about["shader"] = request.Text("shader");
    try {
        return request.ContentsOrPicture(request.AskAbout("image", std::move(about)));
    } catch (const RequestError&) {
        if (request.Text("format") != "png" || !request.Has("placeholder"))
            throw;
        return {"image/png", EncodeNothing()};
    }
}

/// With its sources as they were recorded, and as they are edited.
Answer Program(const Request& request)
{
    Json json = request.AskAbout("program").json;
    const std::uint32_t program = request.Number("name");
    const std::vector<Edit> edits = request.inspector.Replay().Edits();
    json["shaders"] = Json::array();
    for (const Data::ShaderSource& shader : request.inspector.Index().SourcesOf(program, request.At())) {
        json["shaders"].push_back({{"shader", shader.shader},
                                   {"type", Tools::EnumText(shader.type)},
                                   {"source", shader.source ? *shader.source : std::string()}});
        for (const Edit& edit : edits)
            if (edit.program == program && edit.type == shader.type)
                json["shaders"].back()["edited"] = edit.source;
    }
    return json;
}

} // namespace

std::span<const Query> ObjectQueries()
{
    static constexpr Query All[] = {
        {"inputs", Inputs}, {"vertices", Vertices}, {"texture", Texture}, {"image", Image}, {"program", Program}};
    return All;
}

} // namespace Inspect
