// Declarations of blocks, and where their members lie. Offsets are those of the examples and rules of OpenGL ES 3.2
// (Khronos), section 7.6.2.2.
#include "Inspect/Formats/BlockLayout.h"

#include <cstring>

#include <gtest/gtest.h>

#include "Inspect/Error.h"

namespace Inspect {
namespace {

/// "name@offset" of each leaf, and the stride.
std::string TextOf(const char* declaration, const char* layout, std::size_t bytes = 0)
{
    const BlockLayout made = LayOut(ParseDeclaration(declaration), layout, bytes);
    std::string text;
    for (const BlockLeaf& leaf : made.leaves)
        text += leaf.name + "@" + std::to_string(leaf.offset) + " ";
    return text + "/" + std::to_string(made.stride) + (made.isCut ? " cut" : "");
}

std::string FaultOf(const std::string& declaration)
{
    try {
        (void)LayOut(ParseDeclaration(declaration), "std140", 64);
        return "none";
    } catch (const Error& error) {
        return error.what();
    }
}

TEST(BlockLayoutTest, MembersLieWhereTheStandardSays)
{
    constexpr const char* Mixed = "float a; vec3 b; float c; vec2 d; mat3 e; float f[2]; vec4 g;";
    EXPECT_EQ(TextOf(Mixed, "std140"), "a@0 b@16 c@28 d@32 e@48 f[0]@96 f[1]@112 g@128 /144");
    EXPECT_EQ(TextOf(Mixed, "std430"), "a@0 b@16 c@28 d@32 e@48 f[0]@96 f[1]@100 g@112 /128");
    EXPECT_EQ(TextOf(Mixed, "packed"), "a@0 b@4 c@16 d@20 e@28 f[0]@64 f[1]@68 g@72 /88");
    constexpr const char* Nested =
        "struct Light { vec3 place; float power; vec2 size; }; int count; Light lights[2]; int end;";
    EXPECT_EQ(TextOf(Nested, "std140"),
              "count@0 lights[0].place@16 lights[0].power@28 lights[0].size@32 lights[1].place@48 "
              "lights[1].power@60 lights[1].size@64 end@80 /96");
    EXPECT_EQ(TextOf("struct { float a; } s[2]; float b;", "std140"), "s[0].a@0 s[1].a@16 b@32 /48");
    EXPECT_EQ(TextOf("struct { float a; } s[2]; float b;", "std430"), "s[0].a@0 s[1].a@4 b@8 /12");
    EXPECT_EQ(TextOf("unorm8x4 colour; halfx2 uv; layout(offset = 20) vec2 late;", "packed"),
              "colour@0 uv@4 late@20 /28");
}

TEST(BlockLayoutTest, BlocksOfShadersAreTakenAsTheyAre)
{
    constexpr const char* Block = "#version 310 es\n"
                                  "layout(std430, binding = 1) readonly buffer Particles { // of the system\n"
                                  "    uint count; /* alive */\n"
                                  "    highp vec4 places[];\n"
                                  "} particles;\n";
    const BlockDeclaration declaration = ParseDeclaration(Block);
    EXPECT_EQ(declaration.layout, "std430");
    EXPECT_EQ(TextOf(Block, "std430", 48), "count@0 places[0]@16 places[1]@32 /0");
    EXPECT_EQ(TextOf("vec3 places[];", "std430", 480), "places@0 /16");
    EXPECT_EQ(TextOf("struct P { vec2 at; float weight; }; P all[];", "packed", 480), "at@0 weight@8 /12");
    EXPECT_EQ(TextOf("layout(row_major) uniform B { mat4x3 m; };", "std140"), "m@0 /48");
}

TEST(BlockLayoutTest, ValuesComeColumnByColumn)
{
    std::vector<float> numbers(16);
    for (std::size_t i = 0; i < numbers.size(); ++i)
        numbers[i] = static_cast<float>(i);
    std::vector<std::uint8_t> bytes(64);
    std::memcpy(bytes.data(), numbers.data(), bytes.size());
    const BlockLayout columns = LayOut(ParseDeclaration("mat2 m;"), "std140", 0);
    EXPECT_EQ(ValuesOf(columns.leaves[0], bytes), Json({0.0, 1.0, 4.0, 5.0}));
    const BlockLayout rows = LayOut(ParseDeclaration("layout(row_major) mat2 m;"), "std140", 0);
    EXPECT_EQ(ValuesOf(rows.leaves[0], bytes), Json({0.0, 4.0, 1.0, 5.0}));
    // What does not lie in the buffer as a whole is not shown.
    EXPECT_TRUE(ValuesOf(columns.leaves[0], std::span(bytes).first(20)).empty());
    const std::vector<std::uint8_t> small = {0x00, 0x3C, 0x80, 0x7F, 0xFF, 0x00, 0x00, 0x00, 0xC0, 0x7F};
    const BlockLayout mixed = LayOut(ParseDeclaration("half h; snorm8x2 s; unorm8 u; bool b;"), "packed", 0);
    EXPECT_EQ(ValuesOf(mixed.leaves[0], small), Json({1.0}));
    EXPECT_EQ(ValuesOf(mixed.leaves[1], small), Json({-1.0, 1.0}));
    EXPECT_EQ(ValuesOf(mixed.leaves[2], small), Json({1.0}));
    const float none = std::numeric_limits<float>::quiet_NaN();
    std::memcpy(bytes.data(), &none, sizeof none);
    EXPECT_EQ(ValuesOf(LayOut(ParseDeclaration("float f;"), "packed", 0).leaves[0], bytes), Json({"NaN"}));
}

TEST(BlockLayoutTest, FaultsSayWhereTheyAre)
{
    EXPECT_EQ(FaultOf("vec3 a;\n  vec5 b;"), "line 2, column 3: expected a type, found \"vec5\"; did you mean vec2?");
    EXPECT_EQ(FaultOf("vec3"), "line 1, column 5: expected a name, found the end");
    EXPECT_EQ(FaultOf("vec3 a"), "line 1, column 7: expected \";\", found the end");
    EXPECT_EQ(FaultOf("float a[]; float b;"),
              "line 1, column 18: expected nothing after an array without a size, found \"b\"");
    EXPECT_EQ(FaultOf("float a[0];"), "line 1, column 7: expected an array with elements, found \"a\"");
    EXPECT_EQ(FaultOf("float a[x];"), "line 1, column 9: expected a number, found \"x\"");
    EXPECT_NE(FaultOf("").find("expected a member"), std::string::npos);
    EXPECT_NE(FaultOf("mat4 a[99999999];").find("larger than any buffer"), std::string::npos);
    EXPECT_NE(FaultOf("layout(offset = 4000000000) float a;").find("outside of any buffer"), std::string::npos);
    // What would take for ever to lay out is refused, or cut.
    std::string many = "struct S0 { vec4 a, b, c, d, e, f, g, h; };";
    for (int i = 1; i < 12; ++i)
        many += "struct S" + std::to_string(i) + " { S" + std::to_string(i - 1) + " a, b, c, d, e, f, g, h; };";
    EXPECT_NE(FaultOf(many + "S11 all;").find("no more than 4096 members"), std::string::npos);
    EXPECT_TRUE(LayOut(ParseDeclaration("float a[9000];"), "std140", 0).isCut);
}

} // namespace
} // namespace Inspect
