#include "Data/BackBuffer.h"

#include <map>
#include <string>

#include <GLES3/gl3.h>
#include <gtest/gtest.h>

#include "Data/Capture/Checksum.h"

namespace {

/// A context whose back buffer holds a byte pattern. Refuses what its version does not know, as a driver would.
struct FakeContext {
    bool isVersion3 = true;
    std::map<unsigned int, int> state = {{GL_PACK_ALIGNMENT, 8},
                                         {GL_PACK_ROW_LENGTH, 100},
                                         {GL_PACK_SKIP_ROWS, 3},
                                         {GL_PACK_SKIP_PIXELS, 5},
                                         {GL_PIXEL_PACK_BUFFER_BINDING, 11},
                                         {GL_FRAMEBUFFER_BINDING, 12},
                                         {GL_READ_FRAMEBUFFER_BINDING, 13},
                                         {GL_READ_BUFFER, 0}};
    std::string errors;

    [[nodiscard]] unsigned int FramebufferBinding() const
    {
        return isVersion3 ? GL_READ_FRAMEBUFFER_BINDING : GL_FRAMEBUFFER_BINDING;
    }
    void Require(bool condition, const char* what) { errors += condition ? "" : std::string(what) + "; "; }
};

FakeContext context;

std::uint8_t PixelByte(int index)
{
    return static_cast<std::uint8_t>(index * 7 + 3);
}

const Data::BackBufferFunctions Functions = {
    [](unsigned int) {
        return reinterpret_cast<const unsigned char*>(context.isVersion3 ? "OpenGL ES 3.0 Fake" : "OpenGL ES 2.0 Fake");
    },
    [](unsigned int name, int* value) {
        context.Require(context.isVersion3 || name == GL_PACK_ALIGNMENT || name == GL_FRAMEBUFFER_BINDING, "query");
        *value = context.state[name];
    },
    [](unsigned int name, int value) {
        context.Require(context.isVersion3 || name == GL_PACK_ALIGNMENT, "pixel store");
        context.state[name] = value;
    },
    [](unsigned int target, unsigned int buffer) {
        context.Require(context.isVersion3 && target == GL_PIXEL_PACK_BUFFER, "buffer target");
        context.state[GL_PIXEL_PACK_BUFFER_BINDING] = static_cast<int>(buffer);
    },
    [](unsigned int target, unsigned int framebuffer) {
        context.Require(target == (context.isVersion3 ? GL_READ_FRAMEBUFFER : GL_FRAMEBUFFER), "framebuffer target");
        context.state[context.FramebufferBinding()] = static_cast<int>(framebuffer);
    },
    [](unsigned int buffer) {
        context.Require(context.isVersion3 && context.state[GL_READ_FRAMEBUFFER_BINDING] == 0, "read buffer");
        context.state[GL_READ_BUFFER] = static_cast<int>(buffer);
    },
    [](int, int, int width, int height, unsigned int, unsigned int, void* pixels) {
        context.Require(context.state[GL_PACK_ALIGNMENT] == 1 && context.state[context.FramebufferBinding()] == 0,
                        "packing or framebuffer");
        for (const unsigned int name :
             {GL_PACK_ROW_LENGTH, GL_PACK_SKIP_ROWS, GL_PACK_SKIP_PIXELS, GL_PIXEL_PACK_BUFFER_BINDING})
            context.Require(!context.isVersion3 || context.state[name] == 0, "packing or buffer");
        context.Require(!context.isVersion3 || context.state[GL_READ_BUFFER] == GL_BACK, "source");
        for (int i = 0; i < width * height * 4; ++i)
            static_cast<std::uint8_t*>(pixels)[i] = PixelByte(i);
    },
};

TEST(BackBufferTest, IsReadWhateverIsBoundAndAllStateIsPutBack)
{
    std::uint8_t pixels[5 * 3 * 4];
    for (int i = 0; i < 5 * 3 * 4; ++i)
        pixels[i] = PixelByte(i);
    for (const bool isVersion3 : {true, false}) {
        context = FakeContext();
        context.isVersion3 = isVersion3;
        const auto before = context.state;
        std::vector<std::uint8_t> scratch;
        EXPECT_EQ(Data::HashBackBuffer(Functions, 5, 3, scratch), Data::Checksum(pixels, sizeof pixels));
        EXPECT_EQ(context.errors, "");
        EXPECT_EQ(context.state, before);
        EXPECT_EQ(Data::HashBackBuffer(Functions, 0, 2, scratch), std::nullopt);
        Data::BackBufferFunctions withoutContext = Functions;
        withoutContext.glGetString = [](unsigned int) -> const unsigned char* { return nullptr; };
        EXPECT_EQ(Data::HashBackBuffer(withoutContext, 3, 2, scratch), std::nullopt);
    }
}

} // namespace
