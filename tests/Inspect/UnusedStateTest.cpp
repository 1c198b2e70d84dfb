#include "Inspect/Capture/UnusedState.h"

#include <gtest/gtest.h>

namespace Inspect {
namespace {

using Tools::StateSnapshot;

std::map<std::string, std::string> Why(const StateSnapshot& snapshot, const StateUser& user)
{
    std::map<std::string, std::string> all;
    for (const UnusedState& one : FindUnused(snapshot, user))
        all[one.state] = one.why;
    return all;
}

StateSnapshot Snapshot()
{
    StateSnapshot snapshot;
    snapshot.objects[{}] = {{"GL_BLEND", false},
                            {"GL_BLEND_SRC_RGB", "GL_ONE"},
                            {"GL_DEPTH_TEST", true},
                            {"GL_DEPTH_FUNC", "GL_LESS"},
                            {"GL_DEPTH_CLEAR_VALUE", 1},
                            {"GL_COLOR_CLEAR_VALUE", 0},
                            {"GL_SCISSOR_BOX", 0},
                            {"GL_COLOR_WRITEMASK", true},
                            {"GL_CURRENT_PROGRAM", 3},
                            {"GL_VERTEX_ARRAY_BINDING", 2},
                            {"buffer[GL_ARRAY_BUFFER]", 4},
                            {"texture[GL_TEXTURE0][GL_TEXTURE_2D]", 5},
                            {"texture[GL_TEXTURE0][GL_TEXTURE_3D]", 8},
                            {"texture[GL_TEXTURE7][GL_TEXTURE_2D]", 6},
                            {"GL_MYSTERY", 1}};
    snapshot.objects[{"vertexArrays", "2"}] = {{"GL_VERTEX_ATTRIB_ARRAY_ENABLED[0]", true},
                                               {"GL_VERTEX_ATTRIB_ARRAY_ENABLED[1]", false},
                                               {"GL_VERTEX_ATTRIB_ARRAY_SIZE[1]", 3},
                                               {"GL_VERTEX_ATTRIB_ARRAY_ENABLED[5]", true}};
    return snapshot;
}

TEST(UnusedStateTest, ADrawUsesWhatIsOnAndRead)
{
    const StateUser draw = {.kind = Data::ActionKind::Draw,
                            .text = "glDrawArrays(mode=GL_TRIANGLES, first=0, count=3)",
                            .isProgramKnown = true,
                            .samplers = {{0, "GL_TEXTURE_2D"}},
                            .attributes = {0, 1}};
    const std::map<std::string, std::string> expected = {
        {"GL_BLEND_SRC_RGB", "GL_BLEND is off"},
        {"GL_DEPTH_CLEAR_VALUE", "it is for clearing"},
        {"GL_COLOR_CLEAR_VALUE", "it is for clearing"},
        {"GL_SCISSOR_BOX", "GL_SCISSOR_TEST is off"},
        {"buffer[GL_ARRAY_BUFFER]", "it is for calls that set and move contents"},
        {"texture[GL_TEXTURE0][GL_TEXTURE_3D]", "the program samples something else of texture unit 0"},
        {"texture[GL_TEXTURE7][GL_TEXTURE_2D]", "the program samples no texture unit 7"},
        {"GL_VERTEX_ATTRIB_ARRAY_SIZE[1]", "the array is off"},
        {"GL_VERTEX_ATTRIB_ARRAY_ENABLED[5]", "the program reads no attribute 5"},
    };
    EXPECT_EQ(Why(Snapshot(), draw), expected);
    StateSnapshot indexed = Snapshot();
    indexed.objects[{}].erase("GL_BLEND");
    indexed.objects[{}]["GL_BLEND[0]"] = true;
    indexed.objects[{}]["GL_BLEND[1]"] = false;
    EXPECT_FALSE(Why(indexed, draw).contains("GL_BLEND_SRC_RGB"));
    // Without a driver to ask, all units and attributes count as used.
    const StateUser unknown = {.kind = Data::ActionKind::Draw, .text = draw.text};
    EXPECT_FALSE(Why(Snapshot(), unknown).contains("texture[GL_TEXTURE7][GL_TEXTURE_2D]"));
}

TEST(UnusedStateTest, AClearUsesWhatItClearsWith)
{
    const StateUser clear = {.kind = Data::ActionKind::Clear, .text = "glClear(mask=GL_COLOR_BUFFER_BIT)"};
    const auto why = Why(Snapshot(), clear);
    EXPECT_FALSE(why.contains("GL_COLOR_CLEAR_VALUE"));
    EXPECT_FALSE(why.contains("GL_COLOR_WRITEMASK"));
    EXPECT_EQ(why.at("GL_DEPTH_CLEAR_VALUE"), "GL_DEPTH_BUFFER_BIT is not cleared");
    EXPECT_EQ(why.at("GL_DEPTH_FUNC"), "it is for drawing");
    EXPECT_EQ(why.at("GL_CURRENT_PROGRAM"), "it is for drawing and dispatches");
    EXPECT_TRUE(Why(Snapshot(), {.kind = Data::ActionKind::None, .text = "glFlush()"}).empty());
}

} // namespace
} // namespace Inspect
