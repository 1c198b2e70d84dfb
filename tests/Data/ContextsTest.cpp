#include "Data/State/Contexts.h"

#include <gtest/gtest.h>

namespace Data {

namespace {

struct Context {
    Context(std::uint32_t itsName, std::shared_ptr<int> itsGroup) : name(itsName), group(std::move(itsGroup)) {}
    std::uint32_t name;
    std::shared_ptr<int> group;
};

} // namespace

TEST(ContextsTest, ThreadsUseContextsThatShareTheirObjectsOrDoNot)
{
    Contexts<Context, int> contexts(std::make_shared<Context>(0, nullptr));
    EXPECT_FALSE(contexts.HasCurrent());
    contexts.Create(1, 0);
    contexts.Create(2, 1);
    contexts.Create(3, 9);
    EXPECT_EQ(contexts.Find(1)->group, contexts.Find(2)->group);
    EXPECT_NE(contexts.Find(1)->group, contexts.Find(3)->group);

    contexts.SetThread(1);
    contexts.MakeCurrent(1);
    contexts.SetThread(2);
    EXPECT_FALSE(contexts.HasCurrent());
    contexts.MakeCurrent(7);
    EXPECT_EQ(contexts.Current().name, 7u) << "its creation was not seen";

    // A thread keeps what it uses, also when its name stands for another context.
    contexts.SetThread(1);
    const Context* const used = contexts.Find(1);
    contexts.Destroy(1);
    EXPECT_TRUE(contexts.IsUsed(*used));
    EXPECT_EQ(&contexts.Current(), used);
    contexts.Create(1, 0);
    EXPECT_EQ(&contexts.Current(), used);
    EXPECT_NE(contexts.Find(1), used);
    contexts.MakeCurrent(0);
    EXPECT_FALSE(contexts.HasCurrent());
}

} // namespace Data
