#include "Util/OutputFile.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

class OutputFileTest : public testing::Test {
protected:
    OutputFileTest() { fs::create_directories(m_folder); }
    ~OutputFileTest() override { fs::remove_all(m_folder); }

    [[nodiscard]] std::string Path(const std::string& name) const { return m_folder / name; }
    [[nodiscard]] std::string Contents(const std::string& name) const
    {
        std::ifstream file(m_folder / name);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    [[nodiscard]] auto FileCount() const { return std::distance(fs::directory_iterator(m_folder), {}); }

    const fs::path m_folder =
        fs::path(testing::TempDir()) / testing::UnitTest::GetInstance()->current_test_info()->name();
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
    EXPECT_EQ(FileCount(), 2);
}

TEST_F(OutputFileTest, NamesWhatCouldNotBeWritten)
{
    EXPECT_EQ(Util::WriteWholeFile("/dev/full", "text"), "/dev/full: No space left on device");
    EXPECT_EQ(Util::WriteWholeFile(Path("none/a"), "text"), Path("none/a") + ": No such file or directory");
    EXPECT_EQ(Util::WriteWholeFile(m_folder.string(), "text"), m_folder.string() + ": Is a directory");
    EXPECT_EQ(FileCount(), 0);
}

} // namespace
