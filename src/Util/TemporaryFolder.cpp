#include "Util/TemporaryFolder.h"

#include <cstdlib>
#include <filesystem>

namespace Util {

TemporaryFolder::TemporaryFolder()
{
    std::error_code none;
    // mkdtemp puts something of its own in the place of the last letters.
    std::string name = (std::filesystem::temp_directory_path(none) / "playback-XXXXXX").string();
    if (mkdtemp(name.data()))
        m_path = name;
}

TemporaryFolder::~TemporaryFolder()
{
    Remove();
}

void TemporaryFolder::Remove() const
{
    std::error_code none;
    if (IsThere())
        std::filesystem::remove_all(m_path, none);
}

} // namespace Util
