#include "Interfaces/Util.h"

#include <filesystem>
#include <system_error>

namespace Util::Path {

std::string GetFilePart(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

bool Exists(const std::string& path)
{
    std::error_code error;
    return std::filesystem::exists(path, error);
}

bool CreateFolder(const std::string& path)
{
    std::error_code error;
    std::filesystem::create_directories(path, error);
    return std::filesystem::is_directory(path, error);
}

} // namespace Util::Path
