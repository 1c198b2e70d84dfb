#include "Data/Records/References.h"

#include "Data/Diagnostics.h"

namespace Data {

bool References::Take(const RecordView& record)
{
    constexpr const char* Name = "reference driver";
    if (!record.Is(RecordId::ReferenceDriver))
        return false;
    ReferenceDriverRecord fields;
    if (!m_diagnostics.Read(Name, record, fields))
        return true;
    if (!IsSound(record, fields)) {
        m_diagnostics.Skipped(Name, "number and names",
                              "a number from 1 to " + std::to_string(MaxReferenceDrivers) + " and texts of at most " +
                                  Bytes(MaxDriverTextBytes) + " inside the record",
                              std::to_string(fields.driver) + ", " + Bytes(fields.renderer.bytes) + " and " +
                                  Bytes(fields.version.bytes));
        return true;
    }
    m_drivers.try_emplace(
        fields.driver, DriverName{std::string(record.Text(fields.renderer)), std::string(record.Text(fields.version))});
    return true;
}

bool References::IsKnown(const char* name, std::uint32_t driver)
{
    if (driver == 0 || m_drivers.contains(driver))
        return true;
    m_diagnostics.Skipped(name, "driver", "one that the capture has", std::to_string(driver));
    return false;
}

std::optional<ReferenceHashRecord> References::HashOf(const RecordView& record)
{
    constexpr const char* Name = "reference hash";
    ReferenceHashRecord fields;
    if (!record.Is(RecordId::ReferenceHash) || !m_diagnostics.Read(Name, record, fields) ||
        !IsKnown(Name, fields.driver))
        return std::nullopt;
    const bool isOfAny = fields.of == ReferenceOf::Action || fields.of == ReferenceOf::Frame;
    if (isOfAny && (fields.state == PictureState::Hashed || fields.state == PictureState::None))
        return fields;
    m_diagnostics.Skipped(Name, "kind and state", "1 or 2, and 1 or 2",
                          std::to_string(static_cast<std::uint32_t>(fields.of)) + " and " +
                              std::to_string(static_cast<std::uint32_t>(fields.state)));
    return std::nullopt;
}

std::optional<ReferencePicture> References::PictureOf(const RecordView& record)
{
    constexpr const char* Name = "reference picture";
    ReferencePictureRecord fields;
    if (!record.Is(RecordId::ReferencePicture) || !m_diagnostics.Read(Name, record, fields) ||
        !IsKnown(Name, fields.driver))
        return std::nullopt;
    if (record.HasContents(fields.picture) && fields.picture.bytes <= MaxReferencePictureBytes)
        return ReferencePicture{fields.driver, fields.framebuffer, fields.surface, record.Contents(fields.picture)};
    m_diagnostics.Skipped(Name, "contents", "at most " + Bytes(MaxReferencePictureBytes) + " inside the record",
                          Bytes(fields.picture.bytes));
    return std::nullopt;
}

std::uint32_t References::Choose(const DriverName& live) const
{
    std::uint32_t chosen = 0;
    for (const auto& [number, name] : m_drivers)
        chosen = name == live ? number : chosen;
    return chosen;
}

} // namespace Data
