#include "Playback/EGLImageBuffer.h"

#include <cstring>

#include <EGL/egl.h>
#include <EGL/eglext.h>

#include "EGLReplay.h"
#include "Playback/Result.h"

namespace Playback {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

/// An image of the vendor's with live planes that the tests can look into.
class EGLImageBufferTest : public EGLReplay {
protected:
    static constexpr std::size_t PlaneBytes = 256;

    EGLImageBufferTest()
    {
        std::memset(live, Untouched, sizeof(live));
        driver.Answer("eglQueryImageTAVO", [this](const Fake::Arguments& args) {
            *args.Get<EGLint*>(3) = pitch[args.Get<EGLint>(2) - 0x32B1];
            return Fake::Word{EGL_TRUE};
        });
        driver.Answer("eglQueryImage64TAVO", [this](const Fake::Arguments& args) {
            *args.Get<void**>(3) = live[args.Get<EGLint>(2) - 0x32BD];
            return Fake::Word{EGL_TRUE};
        });
        for (std::size_t i = 0; i < sizeof(source); ++i) {
            source[i] = static_cast<std::uint8_t>(i);
        }
        driver.ClearLog();
    }

    /// Format 28 of 4 bytes a pixel; `planes` planes of `stride` bytes a row and `rows` rows, all with the same bytes.
    Data::EGLImageData Image(std::uint32_t planeCount, std::uint32_t stride, std::uint32_t rows)
    {
        planes.assign(planeCount, {stride, std::uint64_t{stride} * rows, 0, source});
        return {4, rows, 28, 4, planeCount, planes.data()};
    }
    void Allocate(const Data::EGLImageData& data)
    {
        ASSERT_EQ(buffer.AllocateBuffer(Handle(11), data), ResultSuccess);
        Forget();
    }
    static std::vector<int> Bytes(const std::uint8_t* at, std::size_t count) { return {at, at + count}; }

    static constexpr std::uint8_t Untouched = 0xEE;
    EGLint pitch[3] = {8, 8, 8};
    std::uint8_t live[3][PlaneBytes];
    std::uint8_t source[PlaneBytes];
    std::vector<Data::EGLImagePlane> planes;
    EGLImageBuffer buffer;
};

TEST_F(EGLImageBufferTest, AllocatesTheVendorsImageOnce)
{
    const auto data = Image(1, 8, 2);
    EXPECT_EQ(buffer.AllocateBuffer(nullptr, data), 6u);
    EXPECT_EQ(buffer.AllocateBuffer(Handle(11), data), 0u);
    EXPECT_EQ(buffer.AllocateBuffer(Handle(11), data), 10u);
    EXPECT_THAT(Calls(), ElementsAre(StartsWith("eglCreateImageKHR(11, 0, 0x3120, 0, {EGL_WIDTH: 4, EGL_HEIGHT: 2, "
                                                "0x3121: 12578})")));
    EXPECT_EQ(buffer.GetNativeBuffer(), Handle(501));
    EXPECT_EQ(buffer.FreeBuffer(), 0u);
    EXPECT_EQ(buffer.FreeBuffer(), 9u);
    EXPECT_THAT(Calls(), ElementsAre("eglDestroyImageKHR(11, 501) = 1"));
    EXPECT_EQ(buffer.GetNativeBuffer(), nullptr);
}

TEST_F(EGLImageBufferTest, FailuresOfTheDriverAreNamed)
{
    const auto data = Image(1, 8, 2);
    driver.Returns("eglCreateImageKHR", std::uintptr_t{0});
    driver->SetEGLError(EGL_BAD_ALLOC);
    EXPECT_EQ(buffer.AllocateBuffer(Handle(11), data), 3u);
    EXPECT_THAT(log.Take(), ElementsAre("EGLImageBuffer::AllocateTavoBuffer failed with error EGL_BAD_ALLOC"));
    EXPECT_EQ(buffer.AllocateBuffer(Handle(11), data), 3u);
    EXPECT_THAT(log.Take(), IsEmpty()) << "a driver without an error has nothing to tell";

    driver.Answer("eglCreateImageKHR", nullptr);
    Allocate(data);
    driver.Returns("eglLockImageTAVO", EGL_FALSE);
    driver->SetEGLError(EGL_BAD_ACCESS);
    EXPECT_EQ(buffer.SetImageData(data), 3u);
    EXPECT_THAT(log.Take(), ElementsAre("EGLImageBuffer::SetImageDataTavo failed with error EGL_BAD_ACCESS"));
    driver.Returns("eglDestroyImageKHR", EGL_FALSE);
    driver->SetEGLError(EGL_BAD_PARAMETER);
    EXPECT_EQ(buffer.FreeBuffer(), 3u);
    EXPECT_THAT(log.Take(), ElementsAre("EGLImageBuffer::FreeTavoBuffer failed with error EGL_BAD_PARAMETER"));
}

TEST_F(EGLImageBufferTest, EqualPitchIsCopiedInOnePieceAndEachPlaneToItsPlace)
{
    const auto data = Image(3, 8, 2);
    planes[1].data = source + 100;
    planes[2].data = nullptr;
    Allocate(data);
    EXPECT_EQ(buffer.SetImageData(data), 0u);
    EXPECT_EQ(Bytes(live[0], 16), Bytes(source, 16));
    EXPECT_EQ(Bytes(live[1], 16), Bytes(source + 100, 16));
    EXPECT_EQ(live[0][16], Untouched);
    EXPECT_EQ(live[2][0], Untouched);
    const auto calls = Calls();
    EXPECT_THAT(calls.front(), StartsWith("eglLockImageTAVO(11, 501, {"));
    EXPECT_THAT(calls.back(), "eglUnlockImageTAVO(11, 501) = 1");
}

TEST_F(EGLImageBufferTest, RowsAreCopiedToTheLivePitch)
{
    pitch[0] = 10; // longer rows: the rest of each stays
    pitch[1] = 5;  // shorter rows: the rest of each is dropped
    const auto data = Image(2, 8, 3);
    Allocate(data);
    EXPECT_EQ(buffer.SetImageData(data), 0u);
    for (std::size_t row = 0; row < 3; ++row) {
        EXPECT_EQ(Bytes(live[0] + row * 10, 8), Bytes(source + row * 8, 8)) << row;
        EXPECT_EQ(live[0][row * 10 + 8], Untouched) << row;
        EXPECT_EQ(Bytes(live[1] + row * 5, 5), Bytes(source + row * 8, 5)) << row;
    }
    EXPECT_EQ(live[1][15], Untouched);
}

TEST_F(EGLImageBufferTest, ContentsThatDoNotFitAreRefusedWhole)
{
    const auto data = Image(2, 8, 2);
    Allocate(data);
    Data::EGLImageData noPlanes = data;
    noPlanes.planes = nullptr;
    EXPECT_EQ(buffer.SetImageData(noPlanes), 6u);
    EXPECT_EQ(buffer.SetImageData(data), 0u);
    Forget();

    const auto refused = [&](auto change) {
        const auto fitting = planes;
        change();
        EXPECT_EQ(buffer.SetImageData(data), 6u);
        planes = fitting;
    };
    refused([&] { planes[1].stride = 4; });
    refused([&] { planes[1].offset = 1; });
    refused([&] { planes[0].size = 8; });
    refused([&] { planes[0].data = nullptr; });
    Data::EGLImageData fewer = data;
    fewer.planeCount = 1;
    EXPECT_EQ(buffer.SetImageData(fewer), 6u);
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(EGLImageBufferTest, AnotherSizeOrFormatMakesAnotherImage)
{
    Allocate(Image(1, 8, 2));
    EXPECT_EQ(buffer.SetImageData(Image(1, 8, 2)), 0u);
    Forget();
    log.Take();
    auto data = Image(1, 8, 3);
    data.width = 5;
    data.bpp = 2;
    data.format = 85;
    EXPECT_EQ(buffer.SetImageData(data), 0u);
    EXPECT_THAT(log.Take(), ElementsAre("warning: Reallocating EGLImage client buffer with width=4->5, height=2->3, "
                                        "bpp=4->2, format=28->85"));
    const auto calls = Calls();
    ASSERT_GE(calls.size(), 2u);
    EXPECT_EQ(calls[0], "eglDestroyImageKHR(11, 501) = 1");
    EXPECT_THAT(calls[1], StartsWith("eglCreateImageKHR(11, 0, 0x3120, 0, {EGL_WIDTH: 5, EGL_HEIGHT: 3"));
}

TEST_F(EGLImageBufferTest, FormatsHaveTheirCounterparts)
{
    const struct {
        unsigned int code, gralloc, tavo;
    } expected[] = {{0, 0x1, 0x31C0},
                    {34, 0, 0x31CC},
                    {40, 0x33, 0},
                    {568, 0x93B0, 0x33E2},
                    {581, 0x93BD, 0x33EF},
                    {582, 0x93D0, 0x3400},
                    {595, 0x93DD, 0x340D},
                    {596, 0, 0},
                    {654, 0x7FA30C09, 0x340E},
                    {664, 0, 0x3417},
                    {665, 0, 0}};
    for (const auto& format : expected) {
        EXPECT_EQ(EGLImageBuffer::GetGrallocFormat(format.code), format.gralloc) << format.code;
        EXPECT_EQ(EGLImageBuffer::GetTavoImageFormat(format.code), format.tavo) << format.code;
        const std::string message = "error: Unrecognized EGLImage KVT format " + std::to_string(format.code);
        const auto unknown = static_cast<int>(format.gralloc == 0) + static_cast<int>(format.tavo == 0);
        EXPECT_EQ(log.Take(), std::vector<std::string>(static_cast<std::size_t>(unknown), message));
    }
}

class EGLImageReplayTest : public EGLImageBufferTest {
protected:
    EGLImageReplayTest()
    {
        Initialize();
        MakeContext(3);
        table.SetCurrentContext(1, 0, 0, 3);
        log.Take();
        Forget();
    }
};

TEST_F(EGLImageReplayTest, NativeBuffersAreReplacedByTheStandIn)
{
    table.AddEGLImageBuffer(1, 9, Image(1, 8, 2));
    void* standIn = table.GetEGLImageBuffer(9);
    ASSERT_NE(standIn, nullptr);
    Forget();
    adapter->Process_eglCreateImageKHR(9, 1, 0, EGL_NATIVE_BUFFER_ANDROID, 77, Null());
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_EQ(table.GetValueEGLImage(9), standIn);

    adapter->Process_eglDestroyImageKHR(1, 1, 9);
    EXPECT_THAT(Calls(), ElementsAre(StartsWith("eglDestroyImageKHR(11, 502)")));
    EXPECT_EQ(table.GetEGLImageBuffer(9), nullptr);
    EXPECT_EQ(table.GetDisplayResource(1)->images.count(9), 0u);
}

TEST_F(EGLImageReplayTest, TexturesAreTranslated)
{
    table.AddIdGLTexture(6, 906);
    adapter->Process_eglCreateImageKHR(9, 1, 3, EGL_GL_TEXTURE_2D_KHR, 6, In({EGL_IMAGE_PRESERVED_KHR, 1, EGL_NONE}));
    EXPECT_THAT(Calls(), ElementsAre(StartsWith("eglCreateImageKHR(11, 501, EGL_GL_TEXTURE_2D, 906, {")));
    EXPECT_NE(table.GetValueEGLImage(9), nullptr);
}

TEST_F(EGLImageReplayTest, TheOlderRecordPlaysNativeBuffersOnly)
{
    table.AddEGLImageBuffer(1, 9, Image(1, 8, 2));
    adapter->Process_eglCreateImageKHRv1(9, 1, 0, EGL_NATIVE_BUFFER_ANDROID, 77, Null());
    EXPECT_EQ(table.GetValueEGLImage(9), table.GetEGLImageBuffer(9));
    log.Take();
    Forget();
    adapter->Process_eglCreateImageKHRv1(10, 1, 3, EGL_GL_TEXTURE_2D_KHR, 6, Null());
    adapter->Process_eglCreateImageKHRv1(10, 1, 3, 0xABCD, 6, Null());
    EXPECT_THAT(Calls(), IsEmpty());
    const std::string start = "warning: This file contains a deprecated eglCreateImageKHR block that does not support "
                              "playback for the ";
    EXPECT_THAT(log.Take(), testing::IsSupersetOf({start + "EGL_GL_TEXTURE_2D target", start + "0xabcd target"}));
}

TEST_F(EGLImageReplayTest, CapturedFencesHaveNoDescriptorHere)
{
    const std::string message =
        "Overriding EGL_SYNC_NATIVE_FENCE_ANDROID file descriptor with EGL_NO_NATIVE_FENCE_FD_ANDROID";
    adapter->Process_eglCreateSyncKHR(9, 1, EGL_SYNC_NATIVE_FENCE_ANDROID,
                                      In({EGL_SYNC_NATIVE_FENCE_FD_ANDROID, 17, EGL_NONE}));
    EXPECT_THAT(log.Take(), Contains(message));
    adapter->Process_eglCreateSyncKHR(10, 1, EGL_SYNC_NATIVE_FENCE_ANDROID,
                                      In({EGL_SYNC_NATIVE_FENCE_FD_ANDROID, -1, EGL_NONE}));
    adapter->Process_eglCreateSyncKHR(11, 1, EGL_SYNC_NATIVE_FENCE_ANDROID, Null());
    EXPECT_THAT(log.Take(), Not(Contains(message)));
    EXPECT_THAT(Calls(),
                ElementsAre("eglCreateSyncKHR(11, EGL_SYNC_NATIVE_FENCE_ANDROID, {EGL_SYNC_NATIVE_FENCE_FD_ANDROID: "
                            "-1}) = 502",
                            "eglCreateSyncKHR(11, EGL_SYNC_NATIVE_FENCE_ANDROID, {EGL_SYNC_NATIVE_FENCE_FD_ANDROID: "
                            "-1}) = 503",
                            "eglCreateSyncKHR(11, EGL_SYNC_NATIVE_FENCE_ANDROID, null) = 504"));
    adapter->Process_eglClientWaitSyncKHR(1, 1, 10, 0, -1);
    adapter->Process_eglDestroySyncKHR(1, 1, 10);
    EXPECT_THAT(Calls(), ElementsAre(StartsWith("eglClientWaitSyncKHR(11, 503, "), "eglDestroySyncKHR(11, 503) = 1"));
    EXPECT_EQ(table.GetDisplayResource(1)->syncs.count(10), 0u);
}

} // namespace
} // namespace Playback
