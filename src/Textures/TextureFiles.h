#pragma once

#include <map>
#include <optional>
#include <string>

#include "Interfaces/Util.h"
#include "Textures/UploadReader.h"
#include "Util/PixelTransfer.h"

namespace Textures {

/// The upload as a picture; empty for what no picture holds: compressed blocks, floats, integers, depth.
[[nodiscard]] std::optional<Util::Image> PictureOf(const Upload& upload);

/// Writes uploads to files that are named for frame, texture, level and layer. What no picture holds becomes a
/// KTX file.
class TextureFiles {
public:
    /// Names begin with `prefix`, which may hold a folder.
    TextureFiles(std::string prefix, Util::ImageFormat format) : m_prefix(std::move(prefix)), m_format(format) {}

    void Write(const Upload& upload);

    [[nodiscard]] std::uint64_t Written() const { return m_written; }
    /// What went wrong first; empty while nothing did.
    [[nodiscard]] const std::string& Error() const { return m_error; }

private:
    [[nodiscard]] std::string Name(const Upload& upload);

    std::string m_prefix;
    Util::ImageFormat m_format;
    /// How often each name came.
    std::map<std::string, std::uint32_t> m_names;
    std::uint64_t m_written = 0;
    std::string m_error;
};

} // namespace Textures
