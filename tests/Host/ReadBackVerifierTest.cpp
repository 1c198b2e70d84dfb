#include "Host/ReadBackVerifier.h"

#include <cstring>

#include "FakeDriver/FakeDriver.h"
#include "Playback/GLResourceTable.h"

namespace {

/// A driver that reads m_pixel from everywhere.
class ReadBackVerifierTest : public FakeDriverTest {
protected:
    ReadBackVerifierTest()
    {
        for (const auto& [call, size, pointer] : {std::tuple{"glReadPixels", -1, 6}, {"glReadnPixels", 6, 7}}) {
            driver.Answer(call, [this, size = size, pointer = pointer](const Fake::Arguments& arguments) {
                const std::size_t bytes = size < 0 ? 8 : static_cast<std::size_t>(arguments.Get<GLsizei>(size));
                std::memset(arguments.Get<void*>(pointer), m_pixel, bytes);
                return Fake::Word{0};
            });
        }
    }

    void Read(std::vector<std::uint8_t> recorded)
    {
        Data::PointerData pixels;
        pixels.SetContents(recorded.data(), static_cast<std::uint32_t>(recorded.size()), 1, 0x1000);
        ++m_position.call;
        m_verifier.Process_glReadPixels(0, 0, 2, 1, GL_RGBA, GL_UNSIGNED_BYTE, &pixels);
    }

    Data::Position m_position;
    Playback::GLResourceTable m_table;
    Host::ReadBackTally m_tally;
    Host::ReadBackVerifier m_verifier{&m_table, m_position, m_tally};
    int m_pixel = 50;
};

TEST_F(ReadBackVerifierTest, TheFirstReadBackThatDiffersIsNamed)
{
    Read({50, 50, 50, 50, 50, 50, 50, 50});
    EXPECT_TRUE(m_tally.AllEqual());
    EXPECT_EQ(m_tally.Report(), "verified: 1 of 1 read-backs equal");
    m_position = {.frame = 6, .call = 10};
    Read({50, 50, 50, 51, 50, 50, 50, 0});
    Read({0, 50, 50, 50, 50, 50, 50, 50});
    EXPECT_FALSE(m_tally.AllEqual());
    EXPECT_EQ(m_tally.Report(), "not verified: 1 of 3 read-backs equal; first difference in frame 7, call 11 "
                                "glReadPixels: expected 0x33 in byte 3 of 8, found 0x32");
}

TEST_F(ReadBackVerifierTest, WhatTheDriverDoesNotWriteIsEqual)
{
    std::vector<std::uint8_t> recorded = {50, 50, 7, 7};
    Data::PointerData pixels;
    pixels.SetContents(recorded.data(), 4, 1, 0x1000);
    m_verifier.Process_glReadnPixels(0, 0, 2, 1, GL_RGBA, GL_UNSIGNED_BYTE, 2, &pixels);
    EXPECT_TRUE(m_tally.compared != 0 && m_tally.AllEqual());
}

TEST_F(ReadBackVerifierTest, PixelsReadIntoABufferAreNotCompared)
{
    Data::PointerData offset;
    offset.SetValue(64);
    driver.Returns("glReadPixels", 0);
    m_verifier.Process_glReadPixels(0, 0, 2, 1, GL_RGBA, GL_UNSIGNED_BYTE, &offset);
    EXPECT_FALSE(m_tally.compared != 0);
}

} // namespace
