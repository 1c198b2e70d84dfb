#include "Host/Advice/Requirements.h"

#include <gmock/gmock.h>

#include "support/TestCapture.h"

namespace Host {

namespace {

using Data::CallId;

class RequirementsTest : public Data::CaptureTest {};

TEST_F(RequirementsTest, LimitsCountAsFarAsCallsUseThem)
{
    Call(CallId::glGetIntegerv, 0x8D57, std::vector<std::int32_t>{64}); // GL_MAX_SAMPLES
    Call(CallId::glActiveTexture, 0x84C0 + 5);
    Call(CallId::glTexImage2D, 0x0DE1, 0, 0x8058, 256, 128, 0, 0x1908, 0x1401, 0);
    Call(CallId::glTexStorage3D, 0x8C1A, 1, 0x8058, 16, 16, 7);         // GL_TEXTURE_2D_ARRAY
    Call(CallId::glFramebufferTexture2D, 0x8D40, 0x8D00, 0x0DE1, 1, 0); // GL_DEPTH_ATTACHMENT
    writer->FrameEnd();
    Call(CallId::glActiveTexture, 0x84C0 + 90);
    writer->FrameEnd();
    Finish();

    const Requirements needed = ReadRequirements(path, 1);
    EXPECT_THAT(needed.limits, testing::UnorderedElementsAre(testing::Pair(0x8B4D, 6),   // combined texture units
                                                             testing::Pair(0x0D33, 256), // texture size
                                                             testing::Pair(0x88FF, 7))); // layers
    EXPECT_EQ(needed.functions.at("glActiveTexture"), 1);
}

} // namespace

} // namespace Host
