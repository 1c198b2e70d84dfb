#include "Host/FrameVerifier.h"

#include <cstring>

#include "Data/Checksum.h"
#include "FakeDriver/FakeDriver.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;

/// A driver with a current surface of 4 x 2 pixels, each byte of which is m_pixel.
class FrameVerifierTest : public FakeDriverTest {
protected:
    FrameVerifierTest()
    {
        driver.Returns("eglGetCurrentDisplay", reinterpret_cast<void*>(1));
        driver.Returns("eglGetCurrentSurface", reinterpret_cast<void*>(2));
        driver.Answer("eglQuerySurface", [this](const Fake::Arguments& arguments) {
            *arguments.Get<EGLint*>(3) = arguments.Get<EGLint>(2) == EGL_WIDTH ? m_width : 2;
            return Fake::ToWord(EGL_TRUE);
        });
        driver.Answer("glReadPixels", [this](const Fake::Arguments& arguments) {
            std::memset(arguments.Get<void*>(6), m_pixel,
                        static_cast<std::size_t>(arguments.Get<GLsizei>(2) * arguments.Get<GLsizei>(3) * 4));
            return Fake::Word{0};
        });
    }

    static std::uint64_t HashOf(int pixel, int bytes = 4 * 2 * 4)
    {
        const std::vector<std::uint8_t> pixels(static_cast<std::size_t>(bytes), static_cast<std::uint8_t>(pixel));
        return Data::Checksum(pixels.data(), pixels.size());
    }

    void Frame(std::uint32_t frame, int recordedPixel)
    {
        m_verifier.ProcessFrameHash(frame, 7, 4, 2, HashOf(recordedPixel));
    }

    Host::FrameVerifier m_verifier;
    EGLint m_width = 4;
    int m_pixel = 50;
};

TEST_F(FrameVerifierTest, EqualFramesAreVerified)
{
    Frame(1, 50);
    m_pixel = 51;
    Frame(2, 51);
    EXPECT_TRUE(m_verifier.IsVerified(2));
    EXPECT_EQ(m_verifier.Report(2), "verified: 2 of 2 frames equal");
}

TEST_F(FrameVerifierTest, TheFirstFrameThatDiffersIsNamedWithBothHashes)
{
    Frame(1, 50);
    Frame(2, 99);
    Frame(3, 98);
    Frame(4, 50);
    EXPECT_FALSE(m_verifier.IsVerified(4));
    char expected[32];
    char found[32];
    std::snprintf(expected, sizeof expected, "%016llx", static_cast<unsigned long long>(HashOf(99)));
    std::snprintf(found, sizeof found, "%016llx", static_cast<unsigned long long>(HashOf(50)));
    EXPECT_EQ(
        m_verifier.Report(4),
        std::string("not verified: 2 of 4 frames equal; first difference in frame 2, surface 7: expected 4x2 hash ") +
            expected + ", found 4x2 hash " + found);
}

TEST_F(FrameVerifierTest, AnotherSizeDiffersEvenWhereItsPixelsAreNotReached)
{
    m_width = 5;
    m_verifier.ProcessFrameHash(1, 7, 4, 2, HashOf(50, 5 * 2 * 4));
    EXPECT_FALSE(m_verifier.IsVerified(1));
    EXPECT_THAT(m_verifier.Report(1), AllOf(HasSubstr("expected 4x2"), HasSubstr("found 5x2")));
}

TEST_F(FrameVerifierTest, FramesThatWereNotComparedAreNotVerified)
{
    EXPECT_FALSE(m_verifier.IsVerified(0));
    EXPECT_FALSE(m_verifier.IsVerified(2));
    EXPECT_THAT(m_verifier.Report(2), HasSubstr("no frame hashes"));
    Frame(1, 50);
    EXPECT_FALSE(m_verifier.IsVerified(2));
    EXPECT_EQ(m_verifier.Report(2), "not verified: 1 of 2 frames equal, 1 not compared");
}

TEST_F(FrameVerifierTest, WithoutACurrentSurfaceTheFrameDiffers)
{
    driver.Returns("eglGetCurrentSurface", static_cast<void*>(nullptr));
    Frame(1, 50);
    EXPECT_THAT(m_verifier.Report(1), HasSubstr("found no frame to read"));
}

} // namespace
