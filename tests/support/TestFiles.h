// Files of tests.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

inline std::string ReadFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// A folder that goes away with the object.
class TestFolder {
public:
    TestFolder() : m_path((std::filesystem::temp_directory_path() / "playback-test-XXXXXX").string())
    {
        if (!mkdtemp(m_path.data()))
            std::abort();
    }
    ~TestFolder() { std::filesystem::remove_all(m_path); }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    [[nodiscard]] const std::string& Path() const { return m_path; }
    [[nodiscard]] std::string File(const std::string& name) const { return m_path + "/" + name; }
    [[nodiscard]] std::size_t Count() const
    {
        const std::filesystem::directory_iterator files(m_path);
        return static_cast<std::size_t>(std::distance(begin(files), end(files)));
    }

private:
    std::string m_path;
};
