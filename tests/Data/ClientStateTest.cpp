#include <gtest/gtest.h>

#include "Data/GLEnums.h"
#include "Data/State/ClientState.h"
#include "Interfaces/Data.h"

namespace Data {

namespace {

const void* Address(std::uintptr_t value)
{
    return reinterpret_cast<const void*>(value);
}

TEST(Sizes, ImagesFollowThePixelStore)
{
    using namespace Enum;
    const PixelStore start;
    EXPECT_EQ(ImageBytes(start, 3, 2, Rgb, UnsignedByte), 12 + 9) << "the last row is not padded";
    EXPECT_EQ(ImageBytes(start, 3, 2, Rgb, UnsignedShort565), 8 + 6);
    EXPECT_EQ(ImageBytes(start, 3, 2, DepthStencil, Float32UnsignedInt248Rev), 48);
    EXPECT_EQ(ImageBytes({.alignment = 8}, 3, 2, Rgba, UnsignedByte), 16 + 12);
    EXPECT_EQ(ImageBytes({.alignment = 1, .rowLength = 10, .skipPixels = 2, .skipRows = 1}, 3, 2, Red, UnsignedByte),
              10 + 2 + 10 + 3);
    const PixelStore volume{.alignment = 1, .imageHeight = 5, .skipImages = 1};
    EXPECT_EQ(ImageBytes(volume, 4, 2, 3, Red, UnsignedByte), 3 * 20 + 4 + 4);
    EXPECT_EQ(ImageBytes(volume, 4, 2, Red, UnsignedByte), 8) << "images are skipped in volumes only";
    EXPECT_EQ(ImageBytes(start, 0, 5, Rgba, 0x9999), 0) << "nothing is read, whatever the type";
    EXPECT_EQ(ImageBytes(start, -1, 5, Rgba, UnsignedByte), 0);
    EXPECT_EQ(ImageBytes(start, 1, 1, Rgba, 0x9999), UnknownSize);
    const PixelStore huge{8, 0x7fffffff, 0x7fffffff, 0x7fffffff, 0x7fffffff, 0x7fffffff};
    EXPECT_EQ(ImageBytes(huge, 0x7fffffff, 0x7fffffff, 0x7fffffff, Rgba, Float), UnknownSize);
}

TEST(Sizes, VertexElementsArePackedOrCounted)
{
    EXPECT_EQ(VertexElementBytes(3, Enum::Float), 12u);
    EXPECT_EQ(VertexElementBytes(4, Enum::Int2101010Rev), 4u);
    EXPECT_EQ(VertexElementBytes(static_cast<std::int32_t>(Enum::Bgra), Enum::UnsignedByte), 4u);
    EXPECT_EQ(VertexElementBytes(5, Enum::Float), 0u);
    EXPECT_EQ(VertexElementBytes(-1, Enum::Float), 0u);
}

class ContextStateTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        const std::uint32_t names[] = {1, 2};
        state.glGenBuffers(2, names);
        state.glGenVertexArrays(1, names);
        state.glGenVertexArraysOES(1, names + 1);
    }
    void Pointer(std::uint32_t index, std::uintptr_t pointer)
    {
        state.glVertexAttribPointer(index, 2, Enum::Float, 0, 0, Address(pointer));
        state.glEnableVertexAttribArray(index);
    }
    ContextState state{std::make_shared<ShareGroupState>()};
};

TEST_F(ContextStateTest, WhereAnAttributeReadsIsDecidedWhenItsPointerIsSet)
{
    Pointer(0, 0x1000);
    state.glBindBuffer(Enum::ArrayBuffer, 1);
    Pointer(1, 0x10);
    state.glBindBuffer(Enum::ArrayBuffer, 0);
    EXPECT_EQ(state.ClientAttribs(), 1u);
    const std::uint32_t one = 1;
    state.glDeleteBuffers(1, &one);
    EXPECT_EQ(state.ClientAttribs(), 3u) << "its buffer is gone";
}

TEST_F(ContextStateTest, VertexArraysHaveAttributesAndIndicesOfTheirOwn)
{
    Pointer(0, 0x1000);
    state.glBindBuffer(Enum::ElementArrayBuffer, 1);
    state.glBindVertexArray(1);
    EXPECT_EQ(state.ClientAttribs(), 0u);
    EXPECT_FALSE(state.HasElementBuffer());
    EXPECT_FALSE(state.AcceptsAttribPointer(0x1000)) << "OpenGL ES 3 wants a buffer in vertex array objects";
    Pointer(0, 0x1000);
    EXPECT_EQ(state.Attrib(0).pointer, 0u);
    state.glBindVertexArrayOES(2);
    EXPECT_TRUE(state.AcceptsAttribPointer(0x1000)) << "the extension to OpenGL ES 2 does not";
    const std::uint32_t two = 2;
    state.glDeleteVertexArrays(1, &two);
    EXPECT_EQ(state.ClientAttribs(), 1u) << "the default one is bound again";
    EXPECT_TRUE(state.HasElementBuffer());
}

TEST_F(ContextStateTest, SeparateBindingsDecideForAllTheirAttributes)
{
    state.glVertexAttribBinding(0, 5);
    state.glVertexAttribBinding(1, 5);
    state.glEnableVertexAttribArray(0);
    state.glEnableVertexAttribArray(1);
    EXPECT_EQ(state.ClientAttribs(), 3u);
    state.glBindVertexBuffer(5, 1, 64, 20);
    state.glVertexBindingDivisor(5, 3);
    EXPECT_EQ(state.ClientAttribs(), 0u);
    EXPECT_EQ(state.Binding(1).stride, 20);
    const DrawRange range = state.AttribRange(1, state.Range_glDrawArraysInstanced(4, 0, 6, 7));
    EXPECT_EQ(range.first, 0u);
    EXPECT_EQ(range.count, 3u) << "instances 0, 3 and 6";
}

TEST_F(ContextStateTest, ClientArraysAreAttributesOfContextsThatHaveNoOthers)
{
    constexpr std::uint32_t TexCoords = 0x8078;
    state.glVertexPointer(3, Enum::Float, 0, Address(0x1000));
    state.glEnableClientState(0x8074);
    EXPECT_EQ(state.ClientAttribs(), 0u) << "the context has attributes";
    state.UseFixedFunctions();
    Pointer(0, 0x2000);
    EXPECT_EQ(state.ClientAttribs(), 0u);
    state.glVertexPointer(3, Enum::Byte, 0, Address(0x1000));
    state.glEnableClientState(0x8074);
    state.glClientActiveTexture(0x84C1);
    state.glEnableClientState(TexCoords);
    state.glBindBuffer(Enum::ArrayBuffer, 1);
    state.glClientActiveTexture(0x84C0);
    state.glEnableClientState(TexCoords);
    state.glTexCoordPointer(2, Enum::Float, 20, Address(16));
    EXPECT_EQ(state.ClientAttribs(), 1u << ClientArray::Vertex | 2u << ClientArray::TexCoord);
    EXPECT_EQ(state.Binding(ClientArray::Vertex).stride, 3) << "packed";
    EXPECT_EQ(state.Binding(ClientArray::TexCoord).stride, 20);
    state.glNormalPointer(Enum::Float, -4, nullptr);
    EXPECT_EQ(state.Binding(ClientArray::Normal).buffer, 0u) << "refused";
}

TEST_F(ContextStateTest, IndicesGiveTheRangeOfVertices)
{
    const std::uint16_t indices[] = {7, 0xffff, 3, 9};
    DrawRange range = state.Range_glDrawElements(4, 4, Enum::UnsignedShort, indices);
    EXPECT_EQ(std::pair(range.first, range.count), std::pair(3u, 0xffffu - 3 + 1));
    state.glEnable(Enum::PrimitiveRestartFixedIndex);
    range = state.Range_glDrawElementsBaseVertex(4, 4, Enum::UnsignedShort, indices, 10);
    EXPECT_EQ(std::pair(range.first, range.count), std::pair(13u, 7u));
    EXPECT_FALSE(state.Range_glDrawElementsBaseVertex(4, 4, Enum::UnsignedShort, indices, -4).isKnown);
    EXPECT_EQ(state.Range_glDrawElements(4, 0, Enum::UnsignedShort, nullptr).count, 0u);
}

/// What the driver may have refused, or the GPU may have written, is not known.
TEST_F(ContextStateTest, BufferedIndicesAreKnownOnlyAsFarAsTheyAreCertain)
{
    constexpr std::uint32_t Target = Enum::ElementArrayBuffer;
    const std::uint8_t indices[] = {1, 2, 3, 4, 5, 6, 7, 8};
    const auto isKnown = [&](std::uintptr_t first, std::int32_t count) {
        return state.Range_glDrawElements(4, count, Enum::UnsignedByte, Address(first)).isKnown;
    };
    state.glBindBuffer(Target, 1);
    state.glBufferData(Target, 8, nullptr, 0);
    state.glBufferSubData(Target, 2, 4, indices);
    EXPECT_TRUE(isKnown(2, 4));
    EXPECT_FALSE(isKnown(1, 4));
    state.glBufferSubData(Target, 6, 4, indices);
    EXPECT_FALSE(isKnown(6, 2)) << "beyond the end: the driver changed nothing";
    EXPECT_FALSE(isKnown(~std::uintptr_t{0}, 2));

    state.glBufferData(Target, 8, indices, 0);
    EXPECT_TRUE(isKnown(0, 8));
    state.glMapBufferRange(Address(0x5000), Target, 0, 8, 2);
    state.glBufferSubData(Target, 0, 8, indices);
    state.MappedData(Target, 4, indices, 4);
    state.glUnmapBuffer(1, Target);
    EXPECT_TRUE(isKnown(4, 4));
    EXPECT_FALSE(isKnown(0, 8)) << "mapped: the driver refuses";
    state.glBufferData(Target, 8, indices, 0);
    state.glBindBufferBase(Enum::ShaderStorageBuffer, 0, 1);
    EXPECT_FALSE(isKnown(0, 8));
}

TEST(ClientState, EachThreadHasItsContextAndSharedContextsTheirBuffers)
{
    ClientState client;
    client.SetCurrentThread(1);
    client.eglCreateContext(10, 1, 1, 0, nullptr);
    client.eglCreateContext(11, 1, 1, 10, nullptr);
    client.eglCreateContext(12, 1, 1, 0, nullptr);
    client.eglMakeCurrent(1, 1, 1, 1, 10);
    const std::uint32_t name = 5;
    client.Context().glGenBuffers(1, &name);
    client.Context().glBindBuffer(Enum::ArrayBuffer, 5);

    client.SetCurrentThread(2);
    EXPECT_FALSE(client.Context().KnowsBuffer(5)) << "no context is current";
    client.eglMakeCurrent(1, 1, 1, 1, 11);
    EXPECT_TRUE(client.Context().KnowsBuffer(5));
    EXPECT_EQ(client.Context().BoundBuffer(Enum::ArrayBuffer), 0u);
    client.eglMakeCurrent(0, 1, 1, 1, 12);
    EXPECT_TRUE(client.Context().KnowsBuffer(5)) << "a call that failed changes nothing";
    client.eglMakeCurrent(1, 1, 1, 1, 12);
    EXPECT_FALSE(client.Context().KnowsBuffer(5));

    client.SetCurrentThread(1);
    client.eglDestroyContext(1, 1, 10);
    EXPECT_EQ(client.Context().BoundBuffer(Enum::ArrayBuffer), 5u) << "it lives while it is current";
    client.eglReleaseThread(1);
    EXPECT_EQ(client.Context().BoundBuffer(Enum::ArrayBuffer), 0u);
}

} // namespace

} // namespace Data
