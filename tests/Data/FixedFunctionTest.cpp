#include "Data/GLEnums.h"
#include "support/ProgramTest.h"

namespace Data {

namespace {

using FixedFunctionTest = ProgramTest;

constexpr std::uint32_t VertexArray = 0x8074;

TEST_F(FixedFunctionTest, ADrawIsSkippedWhenTheVerticesOfAClientArrayDidNotCome)
{
    Begin();
    UseFixedFunctions();
    Call(CallId::glGenBuffers, 1, std::vector<std::uint32_t>{1});
    Call(CallId::glBindBuffer, Enum::ArrayBuffer, 1);
    // There are no attributes in such a context: this is not the array with the same place.
    Call(CallId::glVertexAttribPointer, 0, 4, Enum::Float, 0, 0, 0);
    Call(CallId::glBindBuffer, Enum::ArrayBuffer, 0);
    Call(CallId::glEnableClientState, VertexArray);
    Call(CallId::glDrawArrays, 4, 0, 3);
    Call(CallId::glVertexPointer, 4, Enum::Float, 0, 0x10000);
    Call(CallId::glDrawArrays, 4, 0, 4);
    const Result result = Run("");
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output,
                testing::HasSubstr("client memory of attribute 0: expected 3 vertices from 0, found none"));
    EXPECT_THAT(result.output,
                testing::HasSubstr("client memory of attribute 0: expected 4 vertices from 0, found none"));
}

} // namespace

} // namespace Data
