#include "Tools/Info/Report/Report.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>

#include <nlohmann/json.hpp>

#include "Interfaces/Util.h"
#include "Tools/Info/EnumNames.h"
#include "Tools/Info/Report/Pictures.h"
#include "Tools/Info/Report/ProgramReader.h"
#include "Tools/Pages.h"
#include "Util/OutputFile.h"
#include "Util/Page.h"

namespace Tools {

namespace {

using Json = nlohmann::ordered_json;

/// Of frames, and of textures: more are left out, so that a browser can show the page. The page is given one more, by
/// which it knows that there are more.
constexpr std::size_t MaxPictures = 200;

Json Programs(const std::string& captureFile)
{
    Json programs = Json::array();
    std::string error;
    const auto capture = Data::CaptureFile::Open(captureFile, Data::Preload::No, {}, error);
    if (!capture)
        return programs;
    const ProgramReader reader(*capture);
    while (capture->GetFrameProcessor()->ProcessNextFrame()) {
    }
    for (const ProgramText& program : reader.Programs()) {
        Json shaders = Json::array();
        for (const ShaderText& shader : program.shaders)
            shaders.push_back(
                {{"shader", shader.shader}, {"type", GLEnumName(shader.type)}, {"source", shader.source}});
        programs.push_back({{"program", program.program}, {"shaders", shaders}});
    }
    return programs;
}

Json Work(const CaptureStatistics& statistics)
{
    Json work = Json::array();
    for (const FrameStatistics& frame : statistics.frames) {
        std::uint64_t draws = 0;
        for (const auto& [call, count] : frame.draws)
            draws += count.calls;
        work.push_back({{"draws", draws}, {"uploadedBytes", frame.bufferBytes + frame.textureBytes}});
    }
    return work;
}

Json Textures(const std::string& captureFile)
{
    Json textures = Json::array();
    for (const TexturePicture& picture : TexturePictures(captureFile, MaxPictures + 1)) {
        textures.push_back({{"frame", picture.frame},
                            {"texture", picture.texture},
                            {"level", picture.level},
                            {"layer", picture.layer},
                            {"width", picture.width},
                            {"height", picture.height},
                            {"png", picture.png}});
    }
    return textures;
}

/// Thumbnails of the pictures that a replay wrote.
Json Frames(const Json& results, const std::filesystem::path& folder)
{
    Json frames = Json::array();
    for (const Json& screenshot : results.at("screenshots")) {
        const std::string file = screenshot.at("file");
        std::string png = Thumbnail(file);
        if (png.empty())
            png = Thumbnail(folder / std::filesystem::path(file).filename());
        if (!png.empty() && frames.size() <= MaxPictures)
            frames.push_back({{"frame", screenshot.at("frame")}, {"png", png}});
    }
    return frames;
}

std::string ReadResults(const std::string& path, Json& results, Json& frames)
{
    std::ifstream file(path);
    if (!file)
        return path + ": " + std::strerror(errno);
    try {
        results = Json::parse(file);
    } catch (const Json::parse_error& error) {
        return path + ": expected the results that playback -json writes, found no JSON at byte " +
               std::to_string(error.byte);
    }
    try {
        frames = Frames(results, std::filesystem::path(path).parent_path());
        // What the page reads.
        for (const char* const key : {"measured", "driver", "skipped", "verification"})
            results.at(key);
    } catch (const Json::exception&) {
        return path + ": expected the results that playback -json writes, found other JSON";
    }
    return {};
}

} // namespace

Util::Outcome WriteReport(const std::string& folder, const ReportInput& input)
{
    Json results;
    Json frames = Json::array();
    if (!input.resultsFile.empty()) {
        if (std::string error = ReadResults(input.resultsFile, results, frames); !error.empty())
            return Util::Failure{Util::ExitStatus::Usage, std::move(error)};
    }
    input.progress("reading shaders and textures");
    const Json data = {{"capture", Json::parse(ToJson(input.summary, nullptr))},
                       {"results", results},
                       {"frames", frames},
                       {"work", Work(input.statistics)},
                       {"programs", Programs(input.captureFile)},
                       {"textures", Textures(input.captureFile)},
                       {"maxPictures", MaxPictures}};
    input.progress("writing the page");
    const std::string text = Util::JsonForPage(data.dump(-1, ' ', false, Json::error_handler_t::replace));

    if (!Util::Path::Exists(folder) && !Util::Path::CreateFolder(folder))
        return Util::Failure{Util::ExitStatus::NotWritten, folder + ": " + std::strerror(errno)};
    std::string error = Util::WriteWholeFile(folder + "/index.html",
                                             Util::FillPage(Pages::page, {{"dygraph.min.css", Pages::dygraphStyle},
                                                                          {"dygraph.min.js", Pages::dygraph},
                                                                          {"report.css", Pages::style},
                                                                          {"report.js", Pages::script},
                                                                          {"data", text}}));
    if (!error.empty())
        return Util::Failure{Util::ExitStatus::NotWritten, std::move(error)};
    return {};
}

} // namespace Tools
