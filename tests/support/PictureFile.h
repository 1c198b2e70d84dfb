// Reads the PNG files that screenshots leave, as another program would.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <png.h>

/// Top row first, as people see it.
struct Picture {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<std::uint8_t> rgba;

    /// 0xRRGGBBAA; x counts from the left, y from the top.
    [[nodiscard]] std::uint32_t At(std::uint32_t x, std::uint32_t y) const
    {
        const std::uint8_t* pixel = &rgba.at((std::size_t{y} * width + x) * 4);
        return std::uint32_t{pixel[0]} << 24 | std::uint32_t{pixel[1]} << 16 | std::uint32_t{pixel[2]} << 8 | pixel[3];
    }
};

inline Picture ReadPng(const std::string& path)
{
    png_image png = {};
    png.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&png, path.c_str())) {
        ADD_FAILURE() << path << ": " << png.message;
        return {};
    }
    png.format = PNG_FORMAT_RGBA;
    Picture picture{png.width, png.height, std::vector<std::uint8_t>(PNG_IMAGE_SIZE(png))};
    EXPECT_TRUE(png_image_finish_read(&png, nullptr, picture.rgba.data(), 0, nullptr)) << png.message;
    return picture;
}
