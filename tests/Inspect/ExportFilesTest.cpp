// Files of textures and meshes.
#include <cstring>

#include <gtest/gtest.h>

#include "Inspect/Error.h"
#include "Inspect/Formats/MeshFile.h"
#include "Inspect/Formats/TextureFile.h"

namespace Inspect {
namespace {

using Json = nlohmann::ordered_json;

Compare::Image ImageOf(const char* kind, std::uint32_t width, std::uint32_t height, std::uint8_t first)
{
    Compare::Image image = {Compare::FindPixelKind(kind), width, height, {}};
    image.data.resize(std::size_t{width} * height * image.kind->components * image.kind->componentBytes);
    for (std::size_t i = 0; i < image.data.size(); ++i)
        image.data[i] = static_cast<std::uint8_t>(first + i);
    return image;
}

std::uint32_t WordAt(const std::string& file, std::size_t at)
{
    std::uint32_t word = 0;
    std::memcpy(&word, file.data() + at, sizeof word);
    return word;
}

// Offsets of the header of KTX 1.1.
constexpr std::size_t InternalFormat = 28;
constexpr std::size_t Width = 36;
constexpr std::size_t Faces = 52;
constexpr std::size_t Levels = 56;
constexpr std::size_t KeyBytes = 60;
constexpr std::size_t Header = 64;

TEST(TextureFileTest, LevelsFollowOneAnother)
{
    TextureImages texture = {0x0DE1, 0x8058, {{0, ImageOf("unorm8", 4, 2, 1)}, {1, ImageOf("unorm8", 2, 1, 101)}}};
    std::string file = ToKtx(texture);
    EXPECT_EQ(file.substr(0, 12), "\xABKTX 11\xBB\r\n\x1A\n");
    EXPECT_EQ(WordAt(file, Width), 4u);
    EXPECT_EQ(WordAt(file, Levels), 2u);
    EXPECT_EQ(WordAt(file, InternalFormat), 0x8058u);
    const std::size_t data = Header + WordAt(file, KeyBytes);
    EXPECT_EQ(WordAt(file, data), 32u);
    EXPECT_EQ(file[data + 4], 1);
    EXPECT_EQ(WordAt(file, data + 4 + 32), 8u);
    EXPECT_EQ(file[data + 4 + 32 + 4], 101);
    EXPECT_EQ(file.size(), data + 4 + 32 + 4 + 8);
    texture.format = 0x8C43;
    EXPECT_EQ(WordAt(ToKtx(texture), InternalFormat), 0x8C43u);
}

TEST(TextureFileTest, FacesAndRowsArePadded)
{
    TextureImages cube = {0x8513, 0, {}};
    for (std::uint8_t face = 0; face < 6; ++face)
        cube.images.push_back({0, ImageOf("depth16", 3, 3, face)});
    const std::string file = ToKtx(cube);
    EXPECT_EQ(WordAt(file, Faces), 6u);
    const std::size_t data = Header + WordAt(file, KeyBytes);
    // Of one face, in rows of eight bytes for six.
    EXPECT_EQ(WordAt(file, data), 24u);
    EXPECT_EQ(file.size(), data + 4 + 6 * 24);
    EXPECT_EQ(file[data + 4 + 8], 6);
}

TEST(TextureFileTest, WhatIsNoWholeTextureIsRefused)
{
    EXPECT_THROW((void)ToKtx({0x0DE1, 0, {}}), Error);
    EXPECT_THROW((void)ToKtx({0x0DE1, 0, {{0, ImageOf("unorm8", 4, 4, 0)}, {1, ImageOf("unorm8", 3, 2, 0)}}}), Error);
    EXPECT_THROW((void)ToKtx({0x0DE1, 0, {{0, {}}}}), Error);
}

Json Vertices(const std::vector<int>& indices)
{
    Json all = {{"arrays", Json::array()}, {"rows", Json::array()}};
    all["arrays"].push_back({{"name", "a_position"}, {"location", 0}, {"size", 2}});
    all["arrays"].push_back({{"name", "a_uv"}, {"location", 1}, {"size", 2}});
    for (const int index : indices)
        all["rows"].push_back(
            {{"index", index}, {"values", Json::array({Json::array({index, 0.5}), Json::array({0, index})})}});
    return all;
}

TEST(MeshFileTest, PrimitivesAreJoinedByTheirMode)
{
    using Indices = std::vector<std::uint32_t>;
    // Each second triangle of a strip turns the other way; a restart begins another strip.
    EXPECT_EQ(ToMesh(Vertices({0, 1, 2, 3, -1, 5, 6, 7}), "GL_TRIANGLE_STRIP").indices,
              (Indices{0, 1, 2, 2, 1, 3, 4, 5, 6}));
    EXPECT_EQ(ToMesh(Vertices({0, 1, 2, 3}), "GL_TRIANGLE_FAN").indices, (Indices{0, 1, 2, 0, 2, 3}));
    EXPECT_EQ(ToMesh(Vertices({0, 1, 2, 3}), "GL_TRIANGLES").indices, (Indices{0, 1, 2}));
    EXPECT_EQ(ToMesh(Vertices({0, 1, 2}), "GL_LINE_LOOP").indices, (Indices{0, 1, 1, 2, 2, 0}));
    EXPECT_EQ(ToMesh(Vertices({0, 1, 2, 3}), "GL_LINES").indices, (Indices{0, 1, 2, 3}));
    Json broken = Vertices({0, 1, 2, 3, 4, 5});
    broken["rows"][1]["values"][0] = Json::array();
    EXPECT_EQ(ToMesh(broken, "GL_TRIANGLES").indices, (Indices{3, 4, 5}));
}

TEST(MeshFileTest, FilesHaveWhatTheArraysHold)
{
    const Mesh mesh = ToMesh(Vertices({0, 1, 2}), "GL_TRIANGLES");
    EXPECT_EQ(ToObj(mesh), "v 0 0.5 0\nv 1 0.5 0\nv 2 0.5 0\nvt 0 0\nvt 0 1\nvt 0 2\nf 1/1 2/2 3/3\n");
    const Json gltf = Json::parse(ToGltf(mesh));
    const Json& primitive = gltf["meshes"][0]["primitives"][0];
    EXPECT_EQ(primitive["mode"], 4);
    const Json& places = gltf["accessors"][primitive["attributes"]["POSITION"].get<std::size_t>()];
    EXPECT_EQ(places["max"], Json({2.0, 0.5, 0.0}));
    EXPECT_EQ(places["count"], 3);
    EXPECT_EQ(places["type"], "VEC3");
    EXPECT_TRUE(primitive["attributes"].contains("TEXCOORD_0"));
    EXPECT_EQ(gltf["accessors"][primitive["indices"].get<std::size_t>()]["count"], 3);
    EXPECT_EQ(gltf["buffers"][0]["byteLength"], 3 * 12 + 3 * 8 + 3 * 4);
}

} // namespace
} // namespace Inspect
