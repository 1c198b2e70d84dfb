#include "Playback/Images/EGLImageBuffer.h"

#include <cstring>
#include <numeric>

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>
#include <fcntl.h>
#include <unistd.h>

#include "EGLReplay.h"
#include "Playback/Calls/Result.h"

namespace Playback {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

/// An image of the vendor's with live planes that the tests can look into.
class EGLImageBufferTest : public EGLReplay {
protected:
    static constexpr std::uint8_t Untouched = 0xEE;

    EGLImageBufferTest()
    {
        std::memset(live, Untouched, sizeof(live));
        std::iota(std::begin(source), std::end(source), std::uint8_t{0});
        driver.Answer("eglQueryImageTAVO", [this](const Fake::Arguments& args) {
            *args.Get<EGLint*>(3) = pitch[args.Get<EGLint>(2) - 0x32B1];
            return Fake::Word{EGL_TRUE};
        });
        driver.Answer("eglQueryImage64TAVO", [this](const Fake::Arguments& args) {
            *args.Get<void**>(3) = live[args.Get<EGLint>(2) - 0x32BD];
            return Fake::Word{EGL_TRUE};
        });
        driver.ClearLog();
    }

    /// Format 28 of 4 bytes a pixel; `planes` planes of `stride` bytes a row and `rows` rows, all with the same bytes.
    Data::EGLImageData Image(std::uint32_t planeCount, std::uint32_t stride, std::uint32_t rows)
    {
        planes.assign(planeCount, {stride, std::uint64_t{stride} * rows, 0, source});
        return {4, rows, 28, 4, planeCount, planes.data()};
    }
    static std::vector<int> Bytes(const std::uint8_t* at, std::size_t count) { return {at, at + count}; }

    EGLint pitch[3] = {8, 8, 8};
    std::uint8_t live[3][64];
    std::uint8_t source[256];
    std::vector<Data::EGLImagePlane> planes;
    EGLImageBuffer buffer;
};

TEST_F(EGLImageBufferTest, RowsOfEachPlaneAreCopiedToTheLivePitch)
{
    pitch[0] = 10; // longer rows: the rest of each stays
    pitch[1] = 5;  // shorter rows: the rest of each is dropped
    const auto data = Image(3, 8, 3);
    planes[2].data = source + 100;
    ASSERT_EQ(buffer.AllocateBuffer(Handle(11), data), ResultSuccess);
    Forget();
    EXPECT_EQ(buffer.SetImageData(data), 0u);
    for (std::size_t row = 0; row < 3; ++row) {
        EXPECT_EQ(Bytes(live[0] + row * 10, 8), Bytes(source + row * 8, 8)) << row;
        EXPECT_EQ(live[0][row * 10 + 8], Untouched) << row;
        EXPECT_EQ(Bytes(live[1] + row * 5, 5), Bytes(source + row * 8, 5)) << row;
    }
    EXPECT_EQ(live[1][15], Untouched);
    EXPECT_EQ(Bytes(live[2], 24), Bytes(source + 100, 24));
    EXPECT_EQ(live[2][24], Untouched);
    const auto calls = Calls();
    EXPECT_THAT(calls.front(), StartsWith("eglLockImageTAVO(11, 501, {"));
    EXPECT_THAT(calls.back(), "eglUnlockImageTAVO(11, 501) = 1");
    EXPECT_EQ(buffer.FreeBuffer(), 0u);
    EXPECT_EQ(buffer.FreeBuffer(), 9u);
    EXPECT_THAT(Calls(), ElementsAre("eglDestroyImageKHR(11, 501) = 1"));
}

TEST_F(EGLImageBufferTest, NativeBuffersAreReplacedByTheStandIn)
{
    Initialize();
    table.AddEGLImageBuffer(1, 9, Image(1, 8, 2));
    void* standIn = table.GetEGLImageBuffer(9);
    ASSERT_NE(standIn, nullptr);
    Forget();
    adapter->Process_eglCreateImageKHR(9, 1, 0, EGL_NATIVE_BUFFER_ANDROID, 77, Null());
    EXPECT_EQ(table.GetValueEGLImage(9), standIn);
    EXPECT_THAT(Calls(), IsEmpty());
    adapter->Process_eglDestroyImageKHR(1, 1, 9);
    EXPECT_THAT(Calls(), ElementsAre(StartsWith("eglDestroyImageKHR(11, 501)")));
    EXPECT_EQ(table.GetEGLImageBuffer(9), nullptr);
    EXPECT_EQ(table.GetDisplayResource(1)->images.count(9), 0u);

    // The older record plays native buffers only.
    table.AddEGLImageBuffer(1, 9, Image(1, 8, 2));
    adapter->Process_eglCreateImageKHRv1(9, 1, 0, EGL_NATIVE_BUFFER_ANDROID, 77, Null());
    EXPECT_EQ(table.GetValueEGLImage(9), table.GetEGLImageBuffer(9));
    Forget();
    adapter->Process_eglCreateImageKHRv1(10, 1, 3, EGL_GL_TEXTURE_2D_KHR, 6, Null());
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(EGLImageBufferTest, CapturedFencesHaveNoDescriptorHere)
{
    const std::string message =
        "Overriding EGL_SYNC_NATIVE_FENCE_ANDROID file descriptor with EGL_NO_NATIVE_FENCE_FD_ANDROID";
    Initialize();
    for (const int descriptor : {17, -1}) {
        log.Take();
        adapter->Process_eglCreateSyncKHR(9, 1, EGL_SYNC_NATIVE_FENCE_ANDROID,
                                          In({EGL_SYNC_NATIVE_FENCE_FD_ANDROID, descriptor, EGL_NONE}));
        EXPECT_EQ(testing::Value(log.Take(), Contains(message)), descriptor >= 0);
        EXPECT_THAT(Calls(), ElementsAre(StartsWith("eglCreateSyncKHR(11, EGL_SYNC_NATIVE_FENCE_ANDROID, "
                                                    "{EGL_SYNC_NATIVE_FENCE_FD_ANDROID: -1}) = ")));
    }
    adapter->Process_eglClientWaitSyncKHR(1, 1, 9, 0, -1);
    adapter->Process_eglDestroySyncKHR(1, 1, 9);
    EXPECT_THAT(Calls(), ElementsAre(StartsWith("eglClientWaitSyncKHR(11, 502, "), "eglDestroySyncKHR(11, 502) = 1"));
    adapter->Process_eglCreateSync(9, 1, EGL_SYNC_NATIVE_FENCE_ANDROID,
                                   In64({EGL_SYNC_NATIVE_FENCE_FD_ANDROID, 17, EGL_NONE}));
    EXPECT_THAT(Calls(), ElementsAre(StartsWith("eglCreateSync(11, EGL_SYNC_NATIVE_FENCE_ANDROID, "
                                                "{EGL_SYNC_NATIVE_FENCE_FD_ANDROID: -1}) = ")));
    // What the driver makes of it for the program is of no use here.
    const int copy = dup(STDERR_FILENO);
    driver.Answer("eglDupNativeFenceFDANDROID", [=](const Fake::Arguments&) { return Fake::Word(copy); });
    adapter->Process_eglDupNativeFenceFDANDROID(7, 1, 9);
    EXPECT_EQ(fcntl(copy, F_GETFD), -1);
}

/// What the engine keeps of images: their buffers and the textures that show them.
class EGLImagesTest : public FakeDriverTest {
protected:
    EGLImagesTest() { table.AddIdEGLDisplay(1, &table); }
    static void* Handle(std::uintptr_t value) { return reinterpret_cast<void*>(value); }

    GLResourceTable table;
};

TEST_F(EGLImagesTest, AnImageKeepsItsBufferUntilTheLastUseEnds)
{
    const Data::EGLImageData small{.width = 4, .height = 4, .format = 28, .bpp = 4, .planeCount = 0, .planes = {}};
    driver.Returns("eglCreateImageKHR", Handle(0x77));
    table.AddEGLImageBuffer(1, 3, small);
    driver.Returns("eglCreateImageKHR", Handle(0x78));
    driver.ClearLog();
    table.AddEGLImageBuffer(1, 3, small);
    EXPECT_THAT(driver.Log(), SizeIs(1)) << "the second image is made and stays";
    EXPECT_EQ(table.GetEGLImageBuffer(3), Handle(0x77));
    table.AddEGLImageBufferRef(3);
    table.RemoveEGLImageBuffer(3);
    EXPECT_EQ(table.GetEGLImageBuffer(3), Handle(0x77));
    table.RemoveEGLImageBuffer(3);
    EXPECT_EQ(table.GetEGLImageBuffer(3), nullptr);
    table.AddEGLImageBufferRef(3);
    table.RemoveEGLImageBuffer(3);
    table.SetEGLImageData(3, small);
}

TEST_F(EGLImagesTest, TexturesAndRenderbuffersRememberTheirImages)
{
    table.AddTextureEGLImage(GL_TEXTURE_2D, 5, 30);
    table.AddTextureEGLImage(GL_TEXTURE_EXTERNAL_OES, 5, 31); // the same texture: its image stays
    table.SetTextureEGLImage(GL_RENDERBUFFER, 5, 32);         // has none to replace
    table.AddTextureEGLImage(GL_TEXTURE_CUBE_MAP, 5, 33);
    EXPECT_EQ(table.GetTextureEGLImage(GL_TEXTURE_EXTERNAL_OES, 5), 30u);
    EXPECT_EQ(table.GetTextureEGLImage(GL_RENDERBUFFER, 5) + table.GetTextureEGLImage(GL_TEXTURE_CUBE_MAP, 5), 0u);
    table.SetTextureEGLImage(GL_TEXTURE_2D, 5, 34);
    table.AddTextureEGLImage(GL_RENDERBUFFER, 6, 34);
    EXPECT_EQ(table.GetTextureEGLImage(GL_TEXTURE_2D, 5), 34u);
    table.RemoveTextureEGLImage(34);
    EXPECT_EQ(table.GetTextureEGLImage(GL_TEXTURE_2D, 5) + table.GetTextureEGLImage(GL_RENDERBUFFER, 6), 0u);
}

} // namespace
} // namespace Playback
