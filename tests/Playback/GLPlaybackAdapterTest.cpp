// OpenGL ES calls as the reader delivers them, as far as whole programs on another driver do not show what becomes of
// them.

#include "Playback/Calls/GLPlaybackAdapter.h"

#include <vector>

#include "FakeDriver/FakeDriver.h"

using ::testing::ElementsAre;
using ::testing::StartsWith;

namespace Playback {
namespace {

/// Captured contents of a pointer argument.
template <class Container> class Contents {
public:
    explicit Contents(Container values) : m_values(std::move(values))
    {
        m_data.SetContents(m_values.data(), static_cast<std::uint32_t>(m_values.size()), sizeof m_values[0], 0x1000);
    }
    Data::PointerData* operator&() { return &m_data; }
    Data::PointerData* operator->() { return &m_data; }

private:
    Container m_values;
    Data::PointerData m_data;
};

class GLPlaybackAdapterTest : public FakeDriverTest {
protected:
    GLPlaybackAdapterTest() { table.SetCurrentContext(1, 2, 2, 3); }

    GLResourceTable table;
    GLPlaybackAdapter adapter{&table};
    Data::PointerData null;
};

TEST_F(GLPlaybackAdapterTest, OutputsGetTheRoomThatTheDriverMayFill)
{
    driver.Answer("glGetIntegerv", [](const Fake::Arguments& a) {
        if (a.Get<GLenum>(0) == GL_NUM_COMPRESSED_TEXTURE_FORMATS)
            *a.Get<GLint*>(1) = 50;
        else
            std::fill_n(a.Get<GLint*>(1), 50, 1);
        return Fake::Word{0};
    });
    Contents formats(std::vector<GLint>{1, 2});
    adapter.Process_glGetIntegerv(GL_COMPRESSED_TEXTURE_FORMATS, &formats);
    EXPECT_EQ(formats->GetCount(), 50);

    Contents log(std::string("a long information log"));
    for (const int room : {8, 4096}) {
        adapter.Process_glGetProgramInfoLog(5, room, &null, &log);
        EXPECT_EQ(log->GetCount(), room);
    }
    Data::PointerData offset;
    offset.SetValue(64, 1);
    adapter.Process_glReadnPixels(0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, 400, &offset);
    EXPECT_EQ(offset.GetPointer(), reinterpret_cast<void*>(64)) << "an offset into the pack buffer stays one";

    Contents upload(std::vector<std::uint8_t>{1, 2, 3, 4});
    adapter.Process_glBufferSubData(GL_ARRAY_BUFFER, 64, 0, &upload);
    EXPECT_EQ(upload->GetCount(), 64) << "an empty upload grows its payload to the offset";
    adapter.Process_glGenBuffers(2, &null);
    EXPECT_EQ(table.GetValueGLBuffer(7), 0u) << "nothing to record";
}

TEST_F(GLPlaybackAdapterTest, LabelsAndInputsAreNotTakenForWhatTheyAreNot)
{
    Contents label(std::string("wall"));
    table.AddIdGLBuffer(3, 33);
    driver.ClearLog();
    adapter.Process_glLabelObjectEXT(GL_BUFFER_OBJECT_EXT, 3, 0, &label);
    adapter.Process_glObjectLabel(GL_BUFFER, 3, -1, &label);
    EXPECT_THAT(driver.Log(), ElementsAre(StartsWith("glLabelObjectEXT(GL_BUFFER_OBJECT_EXT, 33,"),
                                          StartsWith("glObjectLabel(GL_BUFFER, 0,")))
        << "core identifiers are not among those that find an object";
    adapter.Process_glGetProgramResourceLocation(9, 5, GL_PROGRAM_INPUT, &label);
    EXPECT_EQ(table.GetValueGLUniformLocation(5, 9), 9);
}

} // namespace
} // namespace Playback
