#include "Host/Verify/ReadBackVerifier.h"

#include <cstring>

#include <gmock/gmock.h>

#include "FakeDriver/FakeDriver.h"
#include "Playback/Names/GLResourceTable.h"
#include "Replay/Guards/MappingGuard.h"

namespace {

TEST_F(FakeDriverTest, TheFirstReadBackThatDiffersIsNamed)
{
    Data::Position position;
    Playback::GLResourceTable table;
    Host::ReadBackTally tally;
    Host::ReadBackVerifier verifier(&table, position, tally);
    // The driver reads 50 from everywhere.
    driver.Answer("glReadPixels", [](const Fake::Arguments& arguments) {
        std::memset(arguments.Get<void*>(6), 50, 8);
        return Fake::Word{0};
    });
    driver.Answer("glReadnPixels", [](const Fake::Arguments& arguments) {
        std::memset(arguments.Get<void*>(7), 50, arguments.Get<std::size_t>(6));
        return Fake::Word{0};
    });
    Data::PointerData pixels;
    const auto read = [&](std::vector<std::uint8_t> recorded) {
        pixels.SetContents(recorded.data(), static_cast<std::uint32_t>(recorded.size()), 1, 0x1000);
        ++position.call;
        verifier.Process_glReadPixels(0, 0, 2, 1, GL_RGBA, GL_UNSIGNED_BYTE, &pixels);
    };
    read({50, 50, 50, 50, 50, 50, 50, 50});
    // What the driver does not write is equal.
    std::vector<std::uint8_t> recorded = {50, 50, 7, 7};
    pixels.SetContents(recorded.data(), 4, 1, 0x1000);
    verifier.Process_glReadnPixels(0, 0, 2, 1, GL_RGBA, GL_UNSIGNED_BYTE, 2, &pixels);
    EXPECT_TRUE(tally.AllEqual());
    EXPECT_EQ(tally.Report(), "verified: 2 of 2 read-backs equal");
    position = {.frame = 6, .call = 10};
    read({50, 50, 50, 51, 50, 50, 50, 0});
    read({0, 50, 50, 50, 50, 50, 50, 50});
    EXPECT_FALSE(tally.AllEqual());
    EXPECT_EQ(tally.Report(), "not verified: 2 of 4 read-backs equal; first difference in frame 7, call 11 "
                              "glReadPixels: expected 0x33 in byte 3 of 8, found 0x32");
    // Pixels that go into a buffer are not compared.
    driver.Returns("glReadPixels", 0);
    pixels.SetValue(64);
    verifier.Process_glReadPixels(0, 0, 2, 1, GL_RGBA, GL_UNSIGNED_BYTE, &pixels);
    EXPECT_EQ(tally.compared, 4u);
}

TEST_F(FakeDriverTest, BytesReachTheirMappingWhateverErrorIsPending)
{
    std::uint8_t mapped[4] = {};
    std::uint8_t written[] = {1, 2, 3, 4, 5};
    Playback::GLResourceTable table;
    table.SetCurrentContext(1, 1, 1, 1);
    table.MapBuffer(0x5000, GL_ARRAY_BUFFER, sizeof mapped, GL_MAP_WRITE_BIT, mapped);
    driver.Answer("glGetIntegerv", [](const Fake::Arguments& arguments) {
        *arguments.Get<GLint*>(1) = 7;
        return Fake::Word{0};
    });
    driver.Answer("glGetBufferParameteriv", [](const Fake::Arguments& arguments) {
        *arguments.Get<GLint*>(2) = arguments.Get<GLenum>(1) == GL_BUFFER_MAPPED ? GL_TRUE : 4;
        return Fake::Word{0};
    });
    driver.Answer("glGetBufferPointerv", [&](const Fake::Arguments& arguments) {
        *arguments.Get<void**>(2) = mapped;
        return Fake::Word{0};
    });
    Replay::MappingGuard guard(&table);
    guard.ProcessFlushMappedBufferRange(GL_ARRAY_BUFFER, 1, 4, written);
    EXPECT_EQ(mapped[1], 0) << "longer than the mapping";
    driver.ClearLog();
    guard.ProcessFlushMappedBufferRange(GL_ARRAY_BUFFER, 0, 4, written);
    EXPECT_EQ(mapped[3], 4);
    EXPECT_THAT(driver.Log(), testing::Not(testing::Contains(testing::StartsWith("glGetError"))));
}

} // namespace
