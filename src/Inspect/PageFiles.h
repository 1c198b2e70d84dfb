// The files of the page, which are part of the program.
#pragma once

#include <string_view>

namespace Inspect {

struct PageFile {
    std::string_view name;
    /// A MIME type.
    const char* type;
    std::string_view contents;
};

/// Null when there is no such file.
const PageFile* FindPageFile(std::string_view name);

} // namespace Inspect
