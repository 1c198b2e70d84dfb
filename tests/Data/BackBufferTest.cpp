#include "Data/BackBuffer.h"

#include <map>
#include <string>

#include <gtest/gtest.h>

#include "Data/Checksum.h"

namespace {

constexpr unsigned int PackAlignment = 0x0D05;
constexpr unsigned int PackRowLength = 0x0D02;
constexpr unsigned int PackSkipRows = 0x0D03;
constexpr unsigned int PackSkipPixels = 0x0D04;
constexpr unsigned int PackBuffer = 0x88EB;
constexpr unsigned int PackBufferBinding = 0x88ED;
constexpr unsigned int Framebuffer = 0x8D40;
constexpr unsigned int DrawFramebufferBinding = 0x8CA6;
constexpr unsigned int ReadFramebuffer = 0x8CA8;
constexpr unsigned int ReadFramebufferBinding = 0x8CAA;
constexpr unsigned int ReadBuffer = 0x0C02;
constexpr int Back = 0x0405;

/// A context whose back buffer holds a byte pattern. Refuses what its version does not know, as a driver would.
struct FakeContext {
    std::string version = "OpenGL ES 3.0 Fake";
    std::map<unsigned int, int> state = {
        {PackAlignment, 4},     {PackRowLength, 0},          {PackSkipRows, 0},           {PackSkipPixels, 0},
        {PackBufferBinding, 0}, {DrawFramebufferBinding, 0}, {ReadFramebufferBinding, 0}, {ReadBuffer, Back}};
    std::string errors;

    [[nodiscard]] bool IsVersion3() const { return version.find("ES 3") != std::string::npos; }
    void Require(bool condition, const char* what)
    {
        if (!condition) {
            errors += std::string(what) + "; ";
        }
    }
};

FakeContext context;

std::uint8_t PixelByte(int index)
{
    return static_cast<std::uint8_t>(index * 7 + 3);
}

const Data::BackBufferFunctions Functions = {
    [](unsigned int) { return reinterpret_cast<const unsigned char*>(context.version.c_str()); },
    [](unsigned int name, int* value) {
        context.Require(context.IsVersion3() || name == PackAlignment || name == DrawFramebufferBinding, "query");
        *value = context.state[name];
    },
    [](unsigned int name, int value) {
        context.Require(context.IsVersion3() || name == PackAlignment, "pixel store");
        context.state[name] = value;
    },
    [](unsigned int target, unsigned int buffer) {
        context.Require(context.IsVersion3() && target == PackBuffer, "buffer target");
        context.state[PackBufferBinding] = static_cast<int>(buffer);
    },
    [](unsigned int target, unsigned int framebuffer) {
        context.Require(target == (context.IsVersion3() ? ReadFramebuffer : Framebuffer), "framebuffer target");
        context.state[context.IsVersion3() ? ReadFramebufferBinding : DrawFramebufferBinding] =
            static_cast<int>(framebuffer);
    },
    [](unsigned int buffer) {
        context.Require(context.IsVersion3() && context.state[ReadFramebufferBinding] == 0, "read buffer");
        context.state[ReadBuffer] = static_cast<int>(buffer);
    },
    [](int, int, int width, int height, unsigned int, unsigned int, void* pixels) {
        context.Require(context.state[PackAlignment] == 1 && context.state[PackRowLength] == 0 &&
                            context.state[PackSkipRows] == 0 && context.state[PackSkipPixels] == 0,
                        "packing");
        context.Require(context.state[PackBufferBinding] == 0 && context.state[ReadBuffer] == Back, "source");
        context.Require(context.state[context.IsVersion3() ? ReadFramebufferBinding : DrawFramebufferBinding] == 0,
                        "framebuffer");
        for (int i = 0; i < width * height * 4; ++i) {
            static_cast<std::uint8_t*>(pixels)[i] = PixelByte(i);
        }
    },
};

class BackBufferTest : public testing::Test {
protected:
    BackBufferTest() { context = FakeContext(); }

    static std::uint64_t ExpectedHash(int width, int height)
    {
        std::vector<std::uint8_t> pixels;
        for (int i = 0; i < width * height * 4; ++i) {
            pixels.push_back(PixelByte(i));
        }
        return Data::Checksum(pixels.data(), pixels.size());
    }

    std::vector<std::uint8_t> m_scratch;
};

TEST_F(BackBufferTest, ReadsTheBackBufferWhateverIsBoundAndPutsAllStateBack)
{
    context.state = {{PackAlignment, 8},           {PackRowLength, 100},    {PackSkipRows, 3},
                     {PackSkipPixels, 5},          {PackBufferBinding, 11}, {DrawFramebufferBinding, 12},
                     {ReadFramebufferBinding, 13}, {ReadBuffer, 0}};
    const auto before = context.state;
    EXPECT_EQ(Data::HashBackBuffer(Functions, 5, 3, m_scratch), ExpectedHash(5, 3));
    EXPECT_EQ(context.errors, "");
    EXPECT_EQ(context.state, before);
}

TEST_F(BackBufferTest, Version2ContextsAreAskedForNothingTheyDoNotKnow)
{
    context.version = "OpenGL ES 2.0 Fake";
    context.state[DrawFramebufferBinding] = 12;
    const auto before = context.state;
    EXPECT_EQ(Data::HashBackBuffer(Functions, 3, 2, m_scratch), ExpectedHash(3, 2));
    EXPECT_EQ(context.errors, "");
    EXPECT_EQ(context.state, before);
}

TEST_F(BackBufferTest, AnswersNothingWhereItCannotRead)
{
    EXPECT_EQ(Data::HashBackBuffer(Functions, 0, 2, m_scratch), std::nullopt);
    EXPECT_EQ(Data::HashBackBuffer({}, 3, 2, m_scratch), std::nullopt);
    Data::BackBufferFunctions withoutContext = Functions;
    withoutContext.getString = [](unsigned int) -> const unsigned char* { return nullptr; };
    EXPECT_EQ(Data::HashBackBuffer(withoutContext, 3, 2, m_scratch), std::nullopt);
    Data::BackBufferFunctions withoutReadBuffer = Functions;
    withoutReadBuffer.readBuffer = nullptr;
    EXPECT_EQ(Data::HashBackBuffer(withoutReadBuffer, 3, 2, m_scratch), std::nullopt);
}

} // namespace
