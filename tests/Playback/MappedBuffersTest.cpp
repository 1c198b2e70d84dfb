#include <array>
#include <numeric>

#include <GLES3/gl32.h>
#include <gmock/gmock.h>

#include "LogCapture.h"
#include "Playback/GLResourceTable.h"

namespace Playback {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

class MappedBuffersTest : public testing::Test {
protected:
    MappedBuffersTest()
    {
        table.SetCurrentContext(0, 0, 0, 1);
        std::iota(captured.begin(), captured.end(), 1);
    }

    void Map(unsigned int access, unsigned long pointer = 0x1000, unsigned int target = GL_ARRAY_BUFFER)
    {
        table.MapBuffer(pointer, target, static_cast<unsigned int>(live.size()), access, live.data());
    }

    LogCapture log;
    GLResourceTable table;
    std::array<unsigned char, 16> live{};
    std::array<unsigned char, 64> captured{};
};

TEST_F(MappedBuffersTest, FlushAndUnmapBringTheCapturedBytes)
{
    Map(GL_MAP_WRITE_BIT | GL_MAP_FLUSH_EXPLICIT_BIT, 0x123456789A);
    EXPECT_EQ(table.GetMappedBufferId(GL_ARRAY_BUFFER), 0x123456789Au);
    table.FlushMappedBufferRange(GL_ARRAY_BUFFER, 4, 2, captured.data());
    EXPECT_THAT(live, ElementsAre(0, 0, 0, 0, 1, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
    table.UnmapBuffer(GL_ARRAY_BUFFER, 3, captured.data());
    EXPECT_THAT(live, ElementsAre(1, 2, 3, 0, 1, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_THAT(log.Take(), IsEmpty());
    EXPECT_EQ(table.GetMappedBufferId(GL_ARRAY_BUFFER), 0u);
}

TEST_F(MappedBuffersTest, NothingToCopyIsNoFailure)
{
    Map(GL_MAP_WRITE_BIT);
    table.FlushMappedBufferRange(GL_ARRAY_BUFFER, 0, 4, nullptr);
    table.UnmapBuffer(GL_ARRAY_BUFFER, 4, nullptr);
    table.MapBuffer(1, GL_ARRAY_BUFFER, 16, GL_MAP_WRITE_BIT, nullptr); // the driver refused
    table.FlushMappedBufferRange(GL_ARRAY_BUFFER, 0, 4, captured.data());
    table.UnmapBuffer(GL_ARRAY_BUFFER, 4, captured.data());
    EXPECT_THAT(live, Each(0));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(MappedBuffersTest, AMappingForReadingIsNotKeptAndDropsTheEarlierOne)
{
    Map(GL_MAP_WRITE_BIT);
    Map(GL_MAP_READ_BIT);
    EXPECT_EQ(table.GetMappedBufferId(GL_ARRAY_BUFFER), 0u);
    table.FlushMappedBufferRange(GL_ARRAY_BUFFER, 0, 4, captured.data());
    table.UnmapBuffer(GL_ARRAY_BUFFER, 4, captured.data());
    EXPECT_THAT(log.Take(), ElementsAre("Mapped buffer lookup failure: no buffer found for id 8894",
                                        "Flush mapped buffer range failure: no buffer found for id 8894",
                                        "Unmap buffer: no buffer found for id 8894"));
    EXPECT_THAT(live, Each(0));
}

TEST_F(MappedBuffersTest, BindingsAndContextsHaveMappingsOfTheirOwn)
{
    Map(GL_MAP_WRITE_BIT, 0x1000, GL_ARRAY_BUFFER);
    Map(GL_MAP_WRITE_BIT, 0x2000, GL_PIXEL_UNPACK_BUFFER);
    Map(GL_MAP_WRITE_BIT, 0x3000, GL_PIXEL_UNPACK_BUFFER);
    EXPECT_EQ(table.GetMappedBufferId(GL_ARRAY_BUFFER), 0x1000u);
    EXPECT_EQ(table.GetMappedBufferId(GL_PIXEL_UNPACK_BUFFER), 0x3000u);
    table.SetCurrentContext(0, 0, 0, 2);
    table.UnmapBuffer(GL_ARRAY_BUFFER, 4, captured.data());
    EXPECT_THAT(log.Take(), ElementsAre("Unmap buffer: no buffer found for id 8894"));
    table.SetCurrentContext(0, 0, 0, 1);
    EXPECT_EQ(table.GetMappedBufferId(GL_ARRAY_BUFFER), 0x1000u);
}

} // namespace
} // namespace Playback
