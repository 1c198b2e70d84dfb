#include "Util/OutputFile.h"

#include <gmock/gmock.h>

#include "support/TestFiles.h"

namespace {

namespace fs = std::filesystem;

class OutputFileTest : public testing::Test {
protected:
    [[nodiscard]] std::string Path(const std::string& name) const { return m_folder.File(name); }
    [[nodiscard]] std::string Contents(const std::string& name) const { return ReadFile(Path(name)); }

    TestFolder m_folder;
};

TEST_F(OutputFileTest, ReplacesOnlyWhenCommitted)
{
    ASSERT_EQ(Util::WriteWholeFile(Path("a"), "old"), "");
    fs::create_symlink("a", Path("link"));
    fs::permissions(Path("a"), fs::perms::owner_read | fs::perms::owner_write);
    {
        Util::OutputFile dropped(Path("link"));
        ASSERT_TRUE(dropped.Open());
        dropped.Write("half");
    }
    EXPECT_EQ(Contents("a"), "old");
    EXPECT_EQ(Util::WriteWholeFile(Path("link"), "new"), "");
    EXPECT_EQ(Contents("a"), "new");
    EXPECT_TRUE(fs::is_symlink(Path("link")));
    EXPECT_EQ(fs::status(Path("a")).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(m_folder.Count(), 2u);
}

TEST_F(OutputFileTest, NamesWhatCouldNotBeWritten)
{
    EXPECT_EQ(Util::WriteWholeFile("/dev/full", "text"), "/dev/full: No space left on device");
    EXPECT_EQ(Util::WriteWholeFile(Path("none/a"), "text"), Path("none/a") + ": No such file or directory");
    EXPECT_EQ(Util::WriteWholeFile(m_folder.Path(), "text"), m_folder.Path() + ": Is a directory");
    EXPECT_EQ(m_folder.Count(), 0u);
}

} // namespace
