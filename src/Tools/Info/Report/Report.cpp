#include "Tools/Info/Report/Report.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

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

/// Of frames, and of textures: more are left out, so that a browser can show the page.
constexpr std::size_t MaxPictures = 200;

Json Programs(const ProgramReader& reader)
{
    Json programs = Json::array();
    for (const ProgramText& program : reader.Programs()) {
        Json shaders = Json::array();
        for (const ShaderText& shader : program.shaders)
            shaders.push_back(
                {{"shader", shader.shader}, {"type", GLEnumName(shader.type)}, {"source", shader.source}});
        programs.push_back({{"program", program.program},
                            {"context", program.context},
                            {"frame", program.frame},
                            {"label", program.label},
                            {"shaders", shaders}});
    }
    return programs;
}

/// Of each frame pairs of a function's number and its calls; the names of the functions.
struct FrameCalls {
    Json frames = Json::array();
    Json functions = Json::array();
};

/// Reads the capture, with all that listens to it.
FrameCalls ReadCalls(Data::CaptureFile& capture)
{
    FrameCalls calls;
    std::map<std::string, std::pair<std::size_t, std::uint64_t>> before;
    const auto add = [&] {
        Json frame = Json::array();
        for (const auto& [name, count, time] : capture.CallSums()) {
            const auto [known, isNew] = before.try_emplace(name, before.size(), 0);
            if (isNew)
                calls.functions.push_back(name);
            auto& [number, counted] = known->second;
            if (count != counted)
                frame.push_back({number, count - counted});
            counted = count;
        }
        calls.frames.push_back(std::move(frame));
    };
    while (capture.GetFrameProcessor()->ProcessNextFrame())
        add();
    return calls;
}

Json Work(const CaptureStatistics& statistics)
{
    Json work = Json::array();
    for (const FrameStatistics& frame : statistics.frames) {
        std::uint64_t draws = 0;
        for (const auto& [call, count] : frame.draws)
            draws += count.calls;
        work.push_back(
            {{"calls", frame.calls}, {"draws", draws}, {"uploadedBytes", frame.bufferBytes + frame.textureBytes}});
    }
    return work;
}

Json Textures(const std::string& captureFile)
{
    Json pictures = Json::array();
    const TexturePictures textures = LargestTextures(captureFile, MaxPictures);
    for (const TexturePicture& picture : textures.pictures) {
        pictures.push_back({{"frame", picture.frame},
                            {"texture", picture.texture},
                            {"layer", picture.layer},
                            {"width", picture.width},
                            {"height", picture.height},
                            {"uploads", picture.uploads},
                            {"png", picture.picture.small},
                            {"large", picture.picture.large}});
    }
    return {{"pictures", pictures}, {"all", textures.layers}};
}

/// The pictures that a replay wrote, as far as they are found.
Json Frames(const Json& results, const std::filesystem::path& folder)
{
    Json pictures = Json::array();
    PictureMaker maker;
    const Json& screenshots = results.at("screenshots");
    for (const Json& screenshot : screenshots) {
        if (pictures.size() == MaxPictures)
            break;
        const std::string file = screenshot.at("file");
        PagePicture picture = maker.Read(file);
        if (picture.small.empty())
            picture = maker.Read(folder / std::filesystem::path(file).filename());
        if (!picture.small.empty())
            pictures.push_back({{"frame", screenshot.at("frame")}, {"png", picture.small}, {"large", picture.large}});
    }
    return {{"pictures", pictures}, {"all", screenshots.size()}};
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
    Json frames = {{"pictures", Json::array()}, {"all", 0}};
    if (!input.resultsFile.empty()) {
        if (std::string error = ReadResults(input.resultsFile, results, frames); !error.empty())
            return Util::Failure{Util::ExitStatus::Usage, std::move(error)};
    }
    input.progress("reading shaders and textures");
    std::string error;
    const auto capture = Data::CaptureFile::Open(input.captureFile, Data::Preload::No, {}, error);
    if (!capture)
        return Util::Failure{Util::ExitStatus::Unreadable, std::move(error)};
    const ProgramReader programs(*capture);
    const FrameCalls calls = ReadCalls(*capture);
    const Json data = {{"capture", Json::parse(ToJson(input.summary, nullptr))},
                       {"results", results},
                       {"frames", frames},
                       {"work", Work(input.statistics)},
                       {"functions", calls.functions},
                       {"callsByFrame", calls.frames},
                       {"programs", Programs(programs)},
                       {"textures", Textures(input.captureFile)}};
    input.progress("writing the page");
    const std::string text = Util::JsonForPage(data.dump(-1, ' ', false, Json::error_handler_t::replace));

    if (!Util::Path::Exists(folder) && !Util::Path::CreateFolder(folder))
        return Util::Failure{Util::ExitStatus::NotWritten, folder + ": " + std::strerror(errno)};
    error = Util::WriteWholeFile(folder + "/index.html",
                                 Util::FillPage(Pages::page, {{"dygraph.min.css", Pages::dygraphStyle},
                                                              {"dygraph.min.js", Pages::dygraph},
                                                              {"report.css", Pages::style},
                                                              {"report.js", Pages::script},
                                                              {"frame.js", Pages::frameScript},
                                                              {"data", text}}));
    if (!error.empty())
        return Util::Failure{Util::ExitStatus::NotWritten, std::move(error)};
    return {};
}

} // namespace Tools
