#include "support/ProgramTest.h"

namespace Data {

namespace {

using ::testing::HasSubstr;

constexpr std::uint32_t Texture2D = 0x0DE1;
constexpr std::int32_t NativeBuffer = 0x3140;
constexpr std::int32_t DmaBuf = 0x3270;

/// Captured native buffers of 3 by 2 pixels in rows of 32 bytes, drawn by this machine's driver through textures.
class NativeImageTest : public ProgramTest {
protected:
    static constexpr std::uint32_t Width = 3;
    static constexpr std::uint32_t Height = 2;
    static constexpr std::uint32_t Stride = 32;

    void Image(RecordId kind, std::uint32_t format, const std::vector<std::uint8_t>& pixels)
    {
        std::vector<std::uint8_t> plane(Stride * Height, 0xEE);
        const std::size_t rowBytes = pixels.size() / Height;
        for (std::uint32_t row = 0; row < Height; ++row)
            std::copy_n(pixels.begin() + row * rowBytes, rowBytes, plane.begin() + row * Stride);
        EGLImageRecord image{};
        image.display = 1;
        image.image = 5;
        image.width = Width;
        image.height = Height;
        image.format = format;
        image.planeCount = 1;
        image.planes[0].stride = Stride;
        image.planes[0].size = plane.size();
        writer->EGLImage(kind, image, {plane.data(), nullptr, nullptr});
    }
    /// A native buffer with these pixels, as the bound texture.
    void UseImage(std::uint32_t format, const std::vector<std::uint8_t>& pixels)
    {
        Image(RecordId::EGLImageCreate, format, {});
        Image(RecordId::EGLImageContent, format, pixels);
        Call(CallId::eglCreateImageKHR, 5, 1, 0, NativeBuffer, 77, 0);
        Call(CallId::glEGLImageTargetTexture2DOES, Texture2D, 5);
    }
    /// Display, context, a program that draws texel (x, y) to pixel (x, y), a texture.
    void Prepare()
    {
        Begin();
        Call(CallId::glCreateProgram, 1);
        const auto add = [&](std::uint32_t shader, std::uint32_t type, const char* source) {
            Call(CallId::glCreateShader, shader, type);
            Call(CallId::glShaderSource, shader, 1, std::vector<std::string>{source}, 0);
            Call(CallId::glCompileShader, shader);
            Call(CallId::glAttachShader, 1, shader);
        };
        add(2, 0x8B31, "#version 300 es\nvoid main(){gl_Position=vec4(gl_VertexID==1?3:-1,gl_VertexID==2?3:-1,0,1);}");
        add(3, 0x8B30,
            "#version 300 es\nprecision mediump float;uniform sampler2D image;out vec4 colour;"
            "void main(){colour=texelFetch(image,ivec2(gl_FragCoord.xy),0);}");
        Call(CallId::glLinkProgram, 1);
        Call(CallId::glUseProgram, 1);
        Call(CallId::glGenTextures, 1, std::vector<std::uint32_t>{4});
        Call(CallId::glBindTexture, Texture2D, 4);
        Call(CallId::glTexParameteri, Texture2D, 0x2801, 0x2600);
    }
    void Expect(const std::vector<std::uint8_t>& pixels)
    {
        Call(CallId::glDrawArrays, 4, 0, 3);
        Call(CallId::glReadPixels, 0, 0, Width, Height, Enum::Rgba, Enum::UnsignedByte, pixels);
    }
    void ExpectVerified(int readBacks)
    {
        const Result result = Run("-verify");
        EXPECT_EQ(result.status, 0) << result.output;
        const std::string count = std::to_string(readBacks);
        EXPECT_THAT(result.output, HasSubstr("verified: " + count + " of " + count + " read-backs equal"));
        EXPECT_THAT(result.output, HasSubstr(" 0 errors"));
        const std::string notice = "textures hold the pixels of their EGLImages";
        EXPECT_NE(result.output.find(notice), std::string::npos);
        EXPECT_EQ(result.output.find(notice), result.output.rfind(notice)) << "it is said once";
    }
};

TEST_F(NativeImageTest, ADrawSamplesThePixelsAndTheirUpdates)
{
    struct Channels {
        std::uint32_t format;
        bool isBGR;
        bool isOpaque;
    };
    constexpr Channels Formats[] = {
        {28, false, false}, {0, false, false}, {87, true, false}, {88, true, true}, {507, false, true}};
    Prepare();
    // Uploads as the application has them in mind are not those of the image.
    Call(CallId::glPixelStorei, Enum::UnpackRowLength, 50);
    Call(CallId::glPixelStorei, Enum::UnpackSkipPixels, 3);
    std::uint8_t next = 1;
    std::vector<std::uint8_t> pixels(Width * Height * 4);
    std::vector<std::uint8_t> expected;
    for (const Channels& channels : Formats) {
        const auto change = [&] {
            for (std::uint8_t& byte : pixels)
                byte = next += 7;
            expected = pixels;
            for (std::size_t at = 0; at < pixels.size(); at += 4) {
                if (channels.isBGR)
                    std::swap(expected[at], expected[at + 2]);
                if (channels.isOpaque)
                    expected[at + 3] = 255;
            }
        };
        change();
        UseImage(channels.format, pixels);
        Expect(expected);
        change();
        Image(RecordId::EGLImageContent, channels.format, pixels);
        Expect(expected);
        Call(CallId::eglDestroyImageKHR, 1, 1, 5);
        Expect(expected);
    }
    ExpectVerified(15);
}

TEST_F(NativeImageTest, OtherFormatsOfFourChannelsAreShown)
{
    std::vector<std::uint8_t> halfOnes;
    for (std::uint32_t i = 0; i < Width * Height * 4; ++i)
        halfOnes.insert(halfOnes.end(), {0x00, 0x3C});
    const std::vector<std::uint8_t> white(Width * Height * 4, 0xFF);
    Prepare();
    for (const auto& [format, pixels] : {std::pair{29u, white}, {24u, white}, {10u, halfOnes}}) {
        UseImage(format, pixels);
        Expect(white);
        Image(RecordId::EGLImageContent, format, std::vector<std::uint8_t>(pixels.size(), 0));
        Expect(std::vector<std::uint8_t>(white.size(), 0));
        Call(CallId::eglDestroyImageKHR, 1, 1, 5);
    }
    // Nothing is current where the buffer is made and filled: a context of the display is lent for it.
    writer->SetThread(2);
    UseImage(28, white);
    writer->SetThread(1);
    Call(CallId::glEGLImageTargetTexture2DOES, Texture2D, 5);
    Expect(white);
    ExpectVerified(7);
}

TEST_F(NativeImageTest, ADmaBufIsShownWithoutItsDescriptor)
{
    constexpr std::uint32_t Pixels = Width * Height;
    Prepare();
    for (const auto& [format, pixelBytes] : {std::pair{61u, 1u}, {49u, 2u}, {85u, 2u}, {87u, 4u}}) {
        std::vector<std::uint8_t> expected;
        for (std::uint32_t i = 0; i < Pixels; ++i)
            for (std::uint32_t channel = 0; channel < 4; ++channel)
                expected.push_back(channel < pixelBytes || channel == 3 || format == 85 ? 0xFF : 0);
        Image(RecordId::EGLImageCreate, format, {});
        Image(RecordId::EGLImageContent, format, std::vector<std::uint8_t>(std::size_t{Pixels} * pixelBytes, 0xFF));
        // What the driver would be told of is a descriptor of the replay's own.
        const std::vector<std::int32_t> attribs{0x3057, 3, 0x3056, 2, 0x3271, 0x34325241, 0x3272, 1, 0x3038};
        Call(CallId::eglCreateImageKHR, 5, 1, 0, DmaBuf, 0, attribs);
        Call(CallId::glEGLImageTargetTexture2DOES, Texture2D, 5);
        Expect(expected);
        Call(CallId::eglDestroyImageKHR, 1, 1, 5);
    }
    ExpectVerified(4);
}

TEST_F(NativeImageTest, OtherImagesOfTheWindowSystemNeverReachTheDriver)
{
    Begin();
    for (const std::int32_t target : {0x30B0, 0x31D5, 0x31D3})
        Call(CallId::eglCreateImageKHR, 5, 1, 0, target, 4, 0);
    const Result result = Run("");
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_THAT(result.output, HasSubstr("found target 0x31d3"));
}

} // namespace

} // namespace Data
