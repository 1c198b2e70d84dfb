#include "Compare/Perceptual.h"

#include <charconv>
#include <filesystem>

#include "Sides/Child.h"
#include "Util/ImageFile.h"
#include "Util/TemporaryFolder.h"

namespace Compare {

std::optional<double> PerceptualDistance(Util::Image expected, Util::Image found, std::string& error)
{
    constexpr const char* Program = "/usr/bin/butteraugli";
    if (!std::filesystem::exists(Program)) {
        error = std::string("there is no ") + Program + ", which measures what people see (package butteraugli)";
        return std::nullopt;
    }
    const Util::TemporaryFolder folder;
    const std::string files[] = {folder.File("expected.png"), folder.File("found.png")};
    Util::MakeOpaque(expected);
    Util::MakeOpaque(found);
    error = Util::WriteImageFile(files[0], Util::ImageFormat::Png, expected);
    if (error.empty())
        error = Util::WriteImageFile(files[1], Util::ImageFormat::Png, found);
    if (!error.empty())
        return std::nullopt;
    const auto child = Sides::Child::Start({Program, files[0], files[1]}, {}, error);
    if (!child)
        return std::nullopt;
    const std::string text = child->ReadRest();
    double distance = 0;
    const int status = child->Wait();
    if (status == 0 && std::from_chars(text.data(), text.data() + text.size(), distance).ec == std::errc())
        return distance;
    error = std::string(Program) + " failed: " + child->Messages();
    return std::nullopt;
}

Difference Judge(const Tolerance& tolerance, const Image& expected, const Image& found, Result& result)
{
    Difference difference = Measure(expected, found, tolerance);
    if (!difference.isOver || !tolerance.perceptual || !difference.mismatch.empty())
        return difference;
    std::string error;
    difference.perceptual = PerceptualDistance(ToPicture(expected), ToPicture(found), error);
    if (!error.empty())
        result.AddNote(error);
    difference.isOver = !difference.perceptual || *difference.perceptual > *tolerance.perceptual;
    return difference;
}

} // namespace Compare
