#include "Sides/Child.h"

#include <csignal>

#include <gmock/gmock.h>

namespace {

std::unique_ptr<Sides::Child> Shell(const char* script, const std::vector<std::string>& environment = {})
{
    std::string error;
    auto child = Sides::Child::Start({"/bin/sh", "-c", script}, environment, error);
    EXPECT_NE(child, nullptr) << error;
    return child;
}

TEST(ChildTest, LinesGoToAndFroAndStatusAndMessagesAreKept)
{
    const auto child =
        Shell("while read x; do echo got $x $SIDE; done; echo trouble >&2; printf rest; exit 3", {"SIDE=b"});
    ASSERT_TRUE(child->Write("one\n"));
    EXPECT_EQ(child->ReadLine(), "got one b");
    ASSERT_TRUE(child->Write("two\n"));
    EXPECT_EQ(child->ReadLine(), "got two b");
    child->CloseInput();
    EXPECT_EQ(child->ReadLine(), "rest");
    EXPECT_EQ(child->ReadLine(), std::nullopt);
    EXPECT_EQ(child->Wait(), 3);
    EXPECT_EQ(child->Messages(), "trouble\n");
}

TEST(ChildTest, ADeadChildIsToldOfAndHarmsNobody)
{
    const auto child = Shell("kill -SEGV $$");
    EXPECT_EQ(child->ReadLine(), std::nullopt);
    EXPECT_EQ(child->Wait(), 128 + SIGSEGV);
    EXPECT_FALSE(child->Write("hello\n"));

    std::string error;
    EXPECT_EQ(Sides::Child::Start({"/nowhere/playback"}, {}, error), nullptr);
    EXPECT_EQ(error, "cannot start /nowhere/playback: No such file or directory");
}

TEST(ChildTest, WhatIsNotWaitedForIsKilled)
{
    auto child = Shell("echo $$; exec sleep 1000");
    const pid_t process = std::stoi(child->ReadLine().value_or("0"));
    ASSERT_GT(process, 1);
    child.reset();
    EXPECT_NE(kill(process, 0), 0);
}

} // namespace
