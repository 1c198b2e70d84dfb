#include "Compare/FolderComparison.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <optional>
#include <set>

#include "Compare/Perceptual.h"
#include "Util/ImageFile.h"

namespace Compare {

namespace {

/// Names of the pictures in a folder.
std::set<std::string> PicturesIn(const std::string& folder)
{
    std::set<std::string> names;
    std::error_code none;
    for (const auto& entry : std::filesystem::directory_iterator(folder, none))
        if (entry.path().extension() == ".png")
            names.insert(entry.path().filename().string());
    return names;
}

/// The number after the last "frame" of a name; 0 without one.
std::uint32_t FrameOf(const std::string& name)
{
    constexpr std::string_view Word = "frame";
    const std::size_t at = name.rfind(Word);
    std::uint32_t frame = 0;
    if (at != std::string::npos)
        std::from_chars(name.data() + at + Word.size(), name.data() + name.size(), frame);
    return frame;
}

FrameResult CompareFiles(const Request& request, const std::string& name, Result& result)
{
    FrameResult frame = {FrameOf(name), name, {}, {}, {}};
    const std::optional<Util::Image> one = Util::ReadPng(request.capture + "/" + name);
    const std::optional<Util::Image> other = Util::ReadPng(request.foundFolder + "/" + name);
    if (one && other) {
        frame.expected = FromPicture(*one);
        frame.found = FromPicture(*other);
        frame.difference = Judge(request.tolerance, frame.expected, frame.found, result);
    } else {
        frame.difference = Difference::Mismatch("expected a picture in both folders, found " +
                                                std::string(one     ? "only what was expected"
                                                            : other ? "only what was found"
                                                                    : "none that can be read"));
    }
    return frame;
}

} // namespace

Util::Outcome CompareFolders(const Request& request, Result& result)
{
    std::set<std::string> names = PicturesIn(request.capture);
    names.merge(PicturesIn(request.foundFolder));
    if (names.empty())
        return Util::Failure{Util::ExitStatus::Unreadable, request.capture + " and " + request.foundFolder +
                                                               ": expected pictures that end in .png, found none"};
    std::vector<std::string> ordered(names.begin(), names.end());
    std::ranges::stable_sort(ordered, {}, FrameOf);
    for (const std::string& name : ordered) {
        ++result.framesCompared;
        FrameResult frame = CompareFiles(request, name, result);
        if (frame.difference.most != 0 || frame.difference.isOver)
            result.AddFrame(std::move(frame));
    }
    return std::nullopt;
}

} // namespace Compare
