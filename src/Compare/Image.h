// Images as a replay of one side has them, and how far two of them are apart.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Util/PixelTransfer.h"

namespace Compare {

/// What a pixel of an image is; the names are those of playback-probe.
struct PixelKind {
    std::string_view name;
    std::uint32_t components;
    std::uint32_t componentBytes;
    /// Steps from 0 to 1 of a component that stands for a number from 0 to 1, or from -1; 0: it stands for itself.
    double one;
};
/// Null for an unknown one.
[[nodiscard]] const PixelKind* FindPixelKind(std::string_view name);

/// Rows packed, the bottom one first.
struct Image {
    const PixelKind* kind = nullptr;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<std::uint8_t> data;

    /// Numbers from 0 to 1 come in steps of 255, so that 255 is one. Buffers and integers as they are.
    [[nodiscard]] double Component(std::size_t pixel, std::uint32_t component) const;
    /// All bytes that the size asks for are there.
    [[nodiscard]] bool IsWhole() const;
};

/// What two images may differ by and count as equal all the same.
struct Tolerance {
    /// Of each component, in steps of 255; integers and bytes by number.
    double steps = 0;
    /// Part of the pixels, from 0 to 1, that may be further apart.
    double pixels = 0;
    /// Largest Butteraugli distance; nothing: it is not asked for.
    std::optional<double> perceptual = std::nullopt;

    [[nodiscard]] bool IsExact() const { return steps == 0 && pixels == 0 && !perceptual; }
};

/// How far an image is from the expected one.
struct Difference {
    /// Pixels that are further apart than the tolerance's steps.
    std::uint64_t pixels = 0;
    std::uint64_t allPixels = 0;
    /// Largest of a component, as Image::Component counts; infinite where one is no number.
    double most = 0;
    /// Around those pixels, from the lower left corner; empty where there are none.
    std::uint32_t x = 0;
    std::uint32_t y = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    /// Sizes or kinds of pixel differ: nothing else is known.
    std::string mismatch = {};
    std::optional<double> perceptual = std::nullopt;
    /// More than the tolerance allows.
    bool isOver = false;

    /// Of images that cannot be compared, for this reason.
    [[nodiscard]] static Difference Mismatch(std::string reason);
    /// "124 of 16384 pixels (0.76 %) differ by up to 37 steps of 255, within 32x16 at 8,8".
    [[nodiscard]] std::string Text() const;
};

/// Compares pixel by pixel, without the perceptual measure.
[[nodiscard]] Difference Measure(const Image& expected, const Image& found, const Tolerance& tolerance);

/// For people: numbers below 0 are black and those above 1 white, integers are cut off at 255, one component is grey.
[[nodiscard]] Util::Image ToPicture(const Image& image);
/// The same the other way round.
[[nodiscard]] Image FromPicture(Util::Image picture);
/// White where they are further apart than `steps`, grey where they differ less, over a dark picture of what is
/// expected.
[[nodiscard]] Util::Image DifferencePicture(const Image& expected, const Image& found, double steps);
/// All three, by name: "expected", "found" and "difference", as far as there are such images.
[[nodiscard]] std::vector<std::pair<std::string, Util::Image>> PicturesOf(const Image& expected, const Image& found,
                                                                          const Tolerance& tolerance);

} // namespace Compare
