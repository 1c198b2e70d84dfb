#include "Compare/Image.h"

#include <cmath>
#include <cstring>
#include <limits>

#include <gtest/gtest.h>

namespace Compare {
namespace {

template <class T> Image ImageOf(const char* kind, std::uint32_t width, std::uint32_t height, std::vector<T> values)
{
    Image image = {FindPixelKind(kind), width, height, {}};
    image.data.resize(values.size() * sizeof(T));
    std::memcpy(image.data.data(), values.data(), image.data.size());
    return image;
}

Image Grey(std::vector<std::uint8_t> values)
{
    std::vector<std::uint8_t> rgba;
    for (const std::uint8_t value : values)
        rgba.insert(rgba.end(), {value, value, value, 255});
    return ImageOf("unorm8", 4, static_cast<std::uint32_t>(values.size()) / 4, rgba);
}

TEST(ImageTest, WhatDiffersIsCountedAndPlaced)
{
    const Image expected = Grey({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    const Image found = Grey({0, 0, 0, 0, 0, 9, 1, 0, 0, 0, 30, 0});
    const Difference difference = Measure(expected, found, {});
    EXPECT_EQ(difference.pixels, 3u);
    EXPECT_EQ(difference.most, 30);
    EXPECT_EQ(difference.x, 1u);
    EXPECT_EQ(difference.y, 1u);
    EXPECT_EQ(difference.width, 2u);
    EXPECT_EQ(difference.height, 2u);
    EXPECT_TRUE(difference.isOver);
    EXPECT_EQ(difference.Text(), "3 of 12 pixels (25 %) differ by up to 30 steps, within 2x2 at 1,1");

    EXPECT_FALSE(Measure(expected, found, {.steps = 30}).isOver);
    EXPECT_EQ(Measure(expected, found, {.steps = 9}).pixels, 1u);
    EXPECT_TRUE(Measure(expected, found, {.steps = 9, .pixels = 0.08}).isOver);
    EXPECT_FALSE(Measure(expected, found, {.steps = 9, .pixels = 0.09}).isOver);
    EXPECT_FALSE(Measure(expected, expected, {}).isOver);
}

TEST(ImageTest, EachKindOfPixelIsComparedAsWhatItIs)
{
    constexpr float NaN = std::numeric_limits<float>::quiet_NaN();
    const auto most = [](const Image& a, const Image& b) { return Measure(a, b, {}).most; };
    // Below the steps of bytes, and beyond what they reach.
    EXPECT_NEAR(
        most(ImageOf<float>("float", 1, 1, {0.5F, 2, 0, 1}), ImageOf<float>("float", 1, 1, {0.5F, 2.001F, 0, 1})),
        0.255, 0.001);
    EXPECT_EQ(most(ImageOf<float>("float", 1, 1, {NaN, 0, 0, 0}), ImageOf<float>("float", 1, 1, {NaN, 0, 0, 0})), 0);
    EXPECT_TRUE(
        std::isinf(most(ImageOf<float>("float", 1, 1, {NaN, 0, 0, 0}), ImageOf<float>("float", 1, 1, {1, 0, 0, 0}))));
    EXPECT_EQ(most(ImageOf<std::int32_t>("int", 1, 1, {-5, 0, 0, 0}), ImageOf<std::int32_t>("int", 1, 1, {7, 0, 0, 0})),
              12);
    EXPECT_EQ(most(ImageOf<std::uint8_t>("stencil8", 2, 1, {1, 2}), ImageOf<std::uint8_t>("stencil8", 2, 1, {1, 4})),
              2);
    EXPECT_NEAR(
        most(ImageOf<std::uint32_t>("depth32", 1, 1, {0}), ImageOf<std::uint32_t>("depth32", 1, 1, {0xFFFFFFFF})), 255,
        1e-6);
    EXPECT_NEAR(most(ImageOf<std::int8_t>("snorm8", 1, 1, {-127, 0, 0, 0}),
                     ImageOf<std::int8_t>("snorm8", 1, 1, {127, 0, 0, 0})),
                510, 1e-6);
}

TEST(ImageTest, OtherSizesKindsAndMissingBytesAreDifferences)
{
    const Image image = Grey({1, 2, 3, 4});
    Image cut = image;
    cut.data.pop_back();
    const Image other = ImageOf<std::uint8_t>("bytes", 4, 1, {1, 2, 3, 4});
    for (const Image& found : {cut, other, Image()})
        EXPECT_TRUE(Measure(image, found, {.steps = 255, .pixels = 1}).isOver);
    EXPECT_EQ(Measure(image, other, {}).Text(), "expected 4x1 unorm8, found 4x1 bytes");
}

} // namespace
} // namespace Compare
