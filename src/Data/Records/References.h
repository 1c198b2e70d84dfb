// Hashes and pictures that a capture has of drivers, by which replays are compared with them.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>

#include "Data/Capture/ReferenceFormat.h"
#include "Data/Records/Actions.h"
#include "Data/Records/RecordView.h"

namespace Data {

class Diagnostics;

/// A driver by what it says of itself.
struct DriverName {
    std::string renderer;
    std::string version;

    bool operator==(const DriverName&) const = default;
    [[nodiscard]] bool IsKnown() const { return !renderer.empty(); }
    /// "llvmpipe (LLVM 15.0.6, 256 bits), OpenGL ES 3.2 Mesa 22.3.6".
    [[nodiscard]] std::string Text() const { return renderer + ", " + version; }
};

/// The texts of a driver lie in its record, and its number is one.
inline bool IsSound(const RecordView& record, const ReferenceDriverRecord& fields)
{
    return fields.driver > 0 && fields.driver <= MaxReferenceDrivers && record.HasContents(fields.renderer) &&
           record.HasContents(fields.version) && fields.renderer.bytes <= MaxDriverTextBytes &&
           fields.version.bytes <= MaxDriverTextBytes;
}

/// A picture that a frame is to show.
struct ReferencePicture {
    std::uint32_t driver;
    std::uint32_t framebuffer;
    std::uint32_t surface;
    /// Borrowed from the record.
    std::span<const std::uint8_t> png;
};

/// The reference drivers of a capture, as far as it was read, and what there is of them. What makes no sense is
/// reported and left out; a number that is given again means what it meant first.
class References {
public:
    explicit References(Diagnostics& diagnostics) : m_diagnostics(diagnostics) {}

    /// Takes note of a driver. False for other records.
    bool Take(const RecordView& record);
    /// Nothing for other records, and for those that make no sense.
    [[nodiscard]] std::optional<ReferenceHashRecord> HashOf(const RecordView& record);
    [[nodiscard]] std::optional<ReferencePicture> PictureOf(const RecordView& record);

    /// By number.
    [[nodiscard]] const std::map<std::uint32_t, DriverName>& Drivers() const { return m_drivers; }
    /// Whose references a driver is compared with: its own, and where there are none, those of the recording, which is
    /// 0. Of several with its name the last one counts.
    [[nodiscard]] std::uint32_t Choose(const DriverName& live) const;

private:
    [[nodiscard]] bool IsKnown(const char* name, std::uint32_t driver);

    Diagnostics& m_diagnostics;
    std::map<std::uint32_t, DriverName> m_drivers;
};

/// Where a hash belongs to.
struct ReferencePlace {
    /// From 1.
    std::uint32_t frame;
    /// The action, and the call that it is; nothing for a whole frame.
    std::optional<ActionNumber> action;
    ActionKind kind;
    std::uint32_t call;
    const char* function;
};

/// Receives the reference hashes of a capture.
class ReferenceHandler {
public:
    virtual ~ReferenceHandler() = default;
    /// Comes right after the action was replayed, and for a frame directly before the call that ends it.
    virtual void ProcessReferenceHash(const ReferenceHashRecord& hash, const ReferencePlace& place) = 0;
};

} // namespace Data
