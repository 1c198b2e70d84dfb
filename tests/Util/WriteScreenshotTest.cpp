#include "Interfaces/Util.h"

#include <bit>
#include <numeric>

#include <GLES3/gl32.h>
// Needs the types of the header above.
#include <GLES2/gl2ext.h>
#include <gmock/gmock.h>

#include "Util/PixelTransfer.h"
#include "support/PictureFile.h"
#include "support/TestFiles.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;
using Util::GLScreenshotHandler;
using Util::ImageFormat;

/// The checksums are those of files whose sizes, masks and rows were checked; a PNG is read below.
constexpr struct {
    ImageFormat format;
    const char* file;
    unsigned checksum;
} Formats[] = {
    {ImageFormat::Bmp, "x.bmp", 2689516733}, {ImageFormat::Dds, "x.dds", 3422983109}, {ImageFormat::Png, "x.png", 0}};

class WriteScreenshotTest : public testing::Test {
protected:
    /// 3 by 2 pixels, bottom row first: red, green, blue with alpha 128; above it white, black, grey with alpha 0.
    static constexpr std::uint8_t Pixels[] = {255, 0,   0,   128, 0, 255, 0, 128, 0,  0,  255, 128,
                                              255, 255, 255, 0,   0, 0,   0, 0,   77, 77, 77,  0};
    TestFolder folder;
};

TEST_F(WriteScreenshotTest, EveryFormatStandsUprightAndKeepsAlpha)
{
    for (const auto& each : Formats) {
        EXPECT_TRUE(GLScreenshotHandler(each.format, false)
                        .WriteScreenshot(folder.File("x"), 3, 2, Pixels, GL_RGBA, GL_UNSIGNED_BYTE));
        const std::string bytes = ReadFile(folder.File(each.file));
        const auto add = [](unsigned sum, char byte) { return sum * 31 + static_cast<unsigned char>(byte); };
        const unsigned sum = std::accumulate(bytes.begin(), bytes.end(), 0u, add);
        EXPECT_TRUE(each.checksum == 0 || sum == each.checksum) << each.file << " has checksum " << sum;
    }
    const Picture picture = ReadPng(folder.File("x.png"));
    ASSERT_EQ(std::pair(picture.width, picture.height), std::pair(3U, 2U));
    EXPECT_EQ(picture.At(0, 0), 0xFFFFFF00U);
    EXPECT_EQ(picture.At(2, 0), 0x4D4D4D00U);
    EXPECT_EQ(picture.At(0, 1), 0xFF000080U);
    EXPECT_EQ(picture.At(1, 1), 0x00FF0080U);
    EXPECT_EQ(picture.At(2, 1), 0x0000FF80U);
    EXPECT_EQ(folder.Count(), std::size(Formats));
}

TEST_F(WriteScreenshotTest, FilesThatCannotBeWrittenAreReported)
{
    if (access("/dev/full", W_OK) != 0)
        GTEST_SKIP() << "this system has no /dev/full";
    for (const auto& each : Formats) {
        std::filesystem::create_symlink("/dev/full", folder.File(each.file));
        for (const auto& [name, why] :
             {std::pair("x", "No space left on device"), {"no/x", "No such file or directory"}}) {
            CaptureStderr();
            EXPECT_FALSE(GLScreenshotHandler(each.format, false)
                             .WriteScreenshot(folder.File(name), 3, 2, Pixels, GL_RGBA, GL_UNSIGNED_BYTE));
            EXPECT_THAT(GetCapturedStderr(), HasSubstr(std::string(" was not written: ") + why));
        }
    }
}

TEST_F(WriteScreenshotTest, ImpossiblePicturesAreRefused)
{
    const struct {
        unsigned width, height, format, type;
        const char* why;
    } cases[] = {
        {3, 2, GL_RGBA, GL_UNSIGNED_SHORT_5_6_5, "format GL_RGBA and type GL_UNSIGNED_SHORT_5_6_5 are not known"},
        {3, 2, 0xABCDE, GL_FLOAT, "0xabcde"},
        {0, 2, GL_RGBA, GL_UNSIGNED_BYTE, "0x2 pixels"},
        // The number of bytes does not fit into 32 bits, nor into 64.
        {0x10000, 0x10000, GL_RGBA, GL_UNSIGNED_BYTE, "65536x65536"},
        {0xFFFFFFFF, 0xFFFFFFFF, GL_RGBA, GL_FLOAT, "4294967295x4294967295"}};
    for (const auto& each : cases) {
        CaptureStderr();
        EXPECT_FALSE(GLScreenshotHandler(ImageFormat::Png, false)
                         .WriteScreenshot(folder.File("x"), each.width, each.height, Pixels, each.format, each.type));
        EXPECT_THAT(GetCapturedStderr(), HasSubstr(each.why));
    }
    EXPECT_EQ(folder.Count(), 0U);
}

/// Bytes of the picture of one pixel.
template <class T> std::vector<int> Converted(std::initializer_list<T> pixel, unsigned format, unsigned type)
{
    EXPECT_EQ(Util::BytesPerPixel(format, type), pixel.size() * sizeof(T));
    const auto image = Util::ToImage(1, 1, pixel.begin(), format, type);
    if (!image)
        return {};
    return {image->rgba.begin(), image->rgba.end()};
}

TEST(PixelTransferTest, ChannelsComeFromTheComponentsOfTheFormat)
{
    const auto bytes = [](std::initializer_list<std::uint8_t> pixel, unsigned format) {
        return Converted(pixel, format, GL_UNSIGNED_BYTE);
    };
    EXPECT_THAT(bytes({1, 2, 3}, GL_RGB), ElementsAre(1, 2, 3, 255));
    EXPECT_THAT(bytes({1, 2, 3, 4}, GL_BGRA_EXT), ElementsAre(3, 2, 1, 4));
    EXPECT_THAT(bytes({1, 2}, GL_RG), ElementsAre(1, 2, 0, 255));
    EXPECT_THAT(bytes({9}, GL_RED), ElementsAre(9, 0, 0, 255));
    EXPECT_THAT(bytes({9}, GL_LUMINANCE), ElementsAre(9, 9, 9, 255));
    EXPECT_THAT(bytes({9, 7}, GL_LUMINANCE_ALPHA), ElementsAre(9, 9, 9, 7));
    EXPECT_THAT(bytes({9}, GL_ALPHA), ElementsAre(0, 0, 0, 9));
    EXPECT_THAT(bytes({9}, GL_STENCIL_INDEX), ElementsAre(9, 9, 9, 255));
}

TEST(PixelTransferTest, TypesAreTakenApartAndValuesOutOfRangeCutOff)
{
    using U16 = std::uint16_t;
    using U32 = std::uint32_t;
    EXPECT_THAT(Converted<U16>({0x07E0}, GL_RGB, GL_UNSIGNED_SHORT_5_6_5), ElementsAre(0, 255, 0, 255));
    EXPECT_THAT(Converted<U16>({0x1234}, GL_RGBA, GL_UNSIGNED_SHORT_4_4_4_4), ElementsAre(17, 34, 51, 68));
    EXPECT_THAT(Converted<U16>({0x003F}, GL_RGBA, GL_UNSIGNED_SHORT_5_5_5_1), ElementsAre(0, 0, 255, 255));
    EXPECT_THAT(Converted<U32>({0x400003FF}, GL_RGBA, GL_UNSIGNED_INT_2_10_10_10_REV), ElementsAre(255, 0, 0, 85));
    // 1.0 in two of the three small floating-point numbers; exponent 15, mantissa 0.
    EXPECT_THAT(Converted<U32>({0x780U << 21 | 0x3C0U << 11}, GL_RGB, GL_UNSIGNED_INT_10F_11F_11F_REV),
                ElementsAre(0, 255, 255, 255));
    // Red 256 times 2 to the power of 16 - 15 - 9: 1.0.
    EXPECT_THAT(Converted<U32>({16U << 27 | 256U}, GL_RGB, GL_UNSIGNED_INT_5_9_9_9_REV), ElementsAre(255, 0, 0, 255));
    EXPECT_THAT(Converted<U32>({0xFFFFFF07}, GL_DEPTH_STENCIL, GL_UNSIGNED_INT_24_8), ElementsAre(255, 255, 255, 255));
    EXPECT_THAT(Converted<U32>({std::bit_cast<U32>(0.2f), 7}, GL_DEPTH_STENCIL, GL_FLOAT_32_UNSIGNED_INT_24_8_REV),
                ElementsAre(51, 51, 51, 255));
    EXPECT_THAT(Converted<float>({2.0f, -1.0f, std::nanf(""), 0.2f}, GL_RGBA, GL_FLOAT), ElementsAre(255, 0, 0, 51));
    EXPECT_THAT(Converted<U16>({0x3C00, 0xBC00, 0x7C00, 0x3800}, GL_RGBA, GL_HALF_FLOAT),
                ElementsAre(255, 0, 255, 128));
    EXPECT_THAT(Converted<std::int8_t>({127, -128, 0, 64}, GL_RGBA, GL_BYTE), ElementsAre(255, 0, 0, 129));
    EXPECT_THAT(Converted<std::int32_t>({-5, 7, 255, 100000}, GL_RGBA_INTEGER, GL_INT), ElementsAre(0, 7, 255, 255));
    EXPECT_THAT(Converted<U32>({0xFFFFFFFF}, GL_DEPTH_COMPONENT, GL_UNSIGNED_INT), ElementsAre(255, 255, 255, 255));
    EXPECT_THAT(Converted<U16>({0x3333}, GL_DEPTH_COMPONENT, GL_UNSIGNED_SHORT), ElementsAre(51, 51, 51, 255));
}

} // namespace
