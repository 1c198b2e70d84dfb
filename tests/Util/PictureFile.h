// Reads the pictures that screenshots leave, as another program would.
#pragma once

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <png.h>
#include <unistd.h>

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

inline std::uint32_t Word(const std::string& bytes, std::size_t at)
{
    std::uint32_t value = 0;
    std::memcpy(&value, bytes.substr(at, 4).data(), 4);
    return value;
}

inline std::string FileBytes(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// Takes four channels by their masks out of pixels that lie from `begin` on.
inline Picture FromMasked(const std::string& bytes, std::size_t begin, std::size_t masks, std::uint32_t width,
                          std::uint32_t height, bool bottomFirst)
{
    Picture picture{width, height, {}};
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t x = 0; x < width; ++x) {
            const std::size_t row = bottomFirst ? height - 1 - y : y;
            const std::uint32_t pixel = Word(bytes, begin + (row * width + x) * 4);
            for (std::size_t channel = 0; channel < 4; ++channel) {
                const std::uint32_t mask = Word(bytes, masks + channel * 4);
                picture.rgba.push_back(static_cast<std::uint8_t>((pixel & mask) / (mask & -mask)));
            }
        }
    }
    return picture;
}

inline Picture ReadBmp(const std::string& path)
{
    const std::string bytes = FileBytes(path);
    EXPECT_EQ(bytes.substr(0, 2), "BM");
    const std::uint32_t pixels = Word(bytes, 10);
    // Sizes of the file and of its pixels, header version 4, planes and bits, bit fields.
    for (const auto& [at, value] : {std::pair<std::size_t, std::size_t>{2, bytes.size()},
                                    {34, bytes.size() - pixels},
                                    {14, 108},
                                    {26, 1 | 32 << 16},
                                    {30, 3}})
        EXPECT_EQ(Word(bytes, at), value) << at;
    return FromMasked(bytes, pixels, 54, Word(bytes, 18), Word(bytes, 22), true);
}

inline Picture ReadDds(const std::string& path)
{
    const std::string bytes = FileBytes(path);
    EXPECT_EQ(bytes.substr(0, 4), "DDS ");
    const std::uint32_t width = Word(bytes, 16);
    const std::uint32_t height = Word(bytes, 12);
    // Sizes of both headers, and of a row.
    for (const auto& [at, value] : {std::pair<std::size_t, std::size_t>{4, 124}, {76, 32}, {20, width * 4}})
        EXPECT_EQ(Word(bytes, at), value) << at;
    EXPECT_EQ(bytes.size(), 128U + std::size_t{width} * height * 4);
    return FromMasked(bytes, 128, 92, width, height, false);
}

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

/// A folder of the test's own, removed at its end.
class PictureFolder {
public:
    PictureFolder() : m_path(testing::TempDir() + "pictures_" + std::to_string(getpid()))
    {
        std::filesystem::create_directories(m_path);
    }
    ~PictureFolder() { std::filesystem::remove_all(m_path); }
    PictureFolder(const PictureFolder&) = delete;
    PictureFolder& operator=(const PictureFolder&) = delete;

    [[nodiscard]] std::string File(const std::string& name) const { return m_path + "/" + name; }
    [[nodiscard]] bool Has(const std::string& name) const { return std::filesystem::exists(File(name)); }
    [[nodiscard]] std::size_t Count() const
    {
        const std::filesystem::directory_iterator files(m_path);
        return static_cast<std::size_t>(std::distance(begin(files), end(files)));
    }

private:
    std::string m_path;
};
