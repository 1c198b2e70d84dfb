#include "Host/Verify/FrameVerifier.h"

#include <cstring>

#include "Data/Capture/Checksum.h"
#include "FakeDriver/FakeDriver.h"

namespace {

/// The current surface has 4 x 2 pixels, each byte of which is m_pixel.
class FrameVerifierTest : public FakeDriverTest {
protected:
    FrameVerifierTest()
    {
        driver.Returns("eglGetCurrentDisplay", 1);
        driver.Returns("eglGetCurrentSurface", 2);
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
    void Frame(std::uint32_t frame, int recordedPixel, int bytes = 4 * 2 * 4)
    {
        const std::vector<std::uint8_t> pixels(static_cast<std::size_t>(bytes),
                                               static_cast<std::uint8_t>(recordedPixel));
        m_verifier.ProcessFrameHash(frame, 7, 4, 2, Data::Checksum(pixels.data(), pixels.size()));
    }

    Host::FrameVerifier m_verifier;
    EGLint m_width = 4;
    int m_pixel = 50;
};

TEST_F(FrameVerifierTest, TheFirstFrameThatDiffersIsNamed)
{
    Frame(1, 50);
    m_pixel = 51;
    Frame(2, 51);
    EXPECT_TRUE(m_verifier.IsVerified(2));
    EXPECT_EQ(m_verifier.Report(2, false), "verified: 2 of 2 frames equal");
    EXPECT_FALSE(m_verifier.IsVerified(3));
    EXPECT_EQ(m_verifier.Report(3, false), "not verified: 2 of 3 frames equal, 1 not compared");
    // Another size differs, even where its pixels are not reached.
    m_width = 5;
    Frame(3, 51, 5 * 2 * 4);
    driver.Returns("eglGetCurrentSurface", 0);
    Frame(4, 51);
    EXPECT_FALSE(m_verifier.IsVerified(4));
    EXPECT_THAT(m_verifier.Report(4, false),
                testing::MatchesRegex("not verified: 2 of 4 frames equal; first difference in frame 3, surface 7: "
                                      "expected 4x2 hash [0-9a-f]{16}, found 5x2 hash [0-9a-f]{16}"));
}

TEST_F(FrameVerifierTest, WithoutASurfaceOrHashesNothingIsVerified)
{
    EXPECT_FALSE(m_verifier.IsVerified(0));
    EXPECT_THAT(m_verifier.Report(2, false), testing::HasSubstr("no frame hashes"));
    EXPECT_THAT(m_verifier.Report(2, true), testing::HasSubstr("no frame with a hash was reached"));
    driver.Returns("eglGetCurrentSurface", 0);
    Frame(1, 50);
    EXPECT_THAT(m_verifier.Report(1, false), testing::HasSubstr("found no frame to read"));
}

} // namespace
