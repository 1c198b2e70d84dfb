// A capture as records that can be changed, and are given right checksums.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "Data/Capture/CaptureHeader.h"
#include "Data/Capture/Format.h"

namespace Mutate {

/// A record with its header. Calls have the numbers of this program.
struct Record {
    std::vector<std::uint8_t> bytes;

    /// Below Data::callCount: a Data::CallId; from Data::firstBuiltInId on a Data::RecordId.
    [[nodiscard]] std::uint32_t Id() const { return Get<Data::RecordHeader>(0).id; }
    /// `at` and what follows lie inside the record.
    template <class T> [[nodiscard]] T Get(std::size_t at) const
    {
        T value;
        std::memcpy(&value, bytes.data() + at, sizeof value);
        return value;
    }
    template <class T> void Set(std::size_t at, T value) { std::memcpy(bytes.data() + at, &value, sizeof value); }
};

struct Recording {
    std::string path;
    Data::CaptureHeader header;
    std::vector<Record> records;

    /// False, with a reason, when the file cannot be read whole.
    bool Load(const std::string& file, std::string& error);
    /// Writes a capture that is right as far as its checksums tell.
    bool Save(const std::string& file, std::string& error) const;
};

} // namespace Mutate
