#pragma once

#include <string>
#include <string_view>

namespace Util {

/// A folder of this process's in the system's place for temporary files, which ends with this, and all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    /// False where it could not be made.
    [[nodiscard]] bool IsThere() const { return !m_path.empty(); }
    /// Removes it now, with all that is in it. From any thread, and more than once.
    void Remove() const;
    [[nodiscard]] std::string File(std::string_view name) const { return m_path + "/" + std::string(name); }

private:
    std::string m_path;
};

} // namespace Util
