#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "Data/CallParameters.h"
#include "Data/CallTable.h"
#include "Data/Format.h"

namespace Trim {

inline std::string_view NameOf(Data::CallId call)
{
    return Data::callTable[static_cast<std::size_t>(call)].name;
}

inline bool IsEGL(Data::CallId call)
{
    return NameOf(call).starts_with("egl");
}

/// Reads the arguments of a call's record by their number, from 0. Borrows the record. What lies outside of it reads
/// as 0, as does a pointer without contents: replay refuses such a record itself.
class CallArguments {
public:
    CallArguments(Data::CallId call, const std::uint8_t* record) : m_call(call), m_record(record)
    {
        std::memcpy(&m_header, record, sizeof m_header);
    }

    [[nodiscard]] Data::CallId Call() const { return m_call; }
    [[nodiscard]] std::size_t Count() const { return Data::ParametersOf(m_call).size(); }

    /// An argument of 4 bytes.
    [[nodiscard]] std::uint32_t Unsigned(std::size_t index) const { return Load<std::uint32_t>(Place(index)); }
    [[nodiscard]] std::int32_t Signed(std::size_t index) const { return Load<std::int32_t>(Place(index)); }
    /// An argument of 8 bytes.
    [[nodiscard]] std::int64_t Wide(std::size_t index) const { return Load<std::int64_t>(Place(index)); }
    /// The memory behind a pointer.
    [[nodiscard]] std::span<const std::uint8_t> Contents(std::size_t index) const
    {
        const auto slot = Load<Data::PointerSlot>(Place(index));
        if (slot.offset == 0 || slot.offset > m_header.bytes || slot.bytes > m_header.bytes - slot.offset)
            return {};
        return {m_record + slot.offset, slot.bytes};
    }
    /// Element `element` of the memory behind a pointer; 0 behind its end.
    [[nodiscard]] std::uint32_t Element(std::size_t index, std::size_t element) const
    {
        const std::span<const std::uint8_t> contents = Contents(index);
        std::uint32_t value = 0;
        if (element < contents.size() / sizeof value)
            std::memcpy(&value, contents.data() + element * sizeof value, sizeof value);
        return value;
    }
    [[nodiscard]] std::string_view Text(std::size_t index) const
    {
        const std::span<const std::uint8_t> contents = Contents(index);
        const std::string_view text(reinterpret_cast<const char*>(contents.data()), contents.size());
        return text.substr(0, text.find('\0'));
    }
    /// The returned value, where it has 4 bytes.
    [[nodiscard]] std::uint32_t Returned() const
    {
        const Data::ParameterDescription* const returned = Data::ReturnOf(m_call);
        return returned ? Load<std::uint32_t>(returned->at) : 0;
    }

private:
    [[nodiscard]] std::uint32_t Place(std::size_t index) const { return Data::ParametersOf(m_call)[index].at; }
    template <class T> [[nodiscard]] T Load(std::uint32_t at) const
    {
        T value{};
        if (at + sizeof value <= m_header.bytes)
            std::memcpy(&value, m_record + at, sizeof value);
        return value;
    }

    Data::CallId m_call;
    const std::uint8_t* m_record;
    Data::RecordHeader m_header;
};

} // namespace Trim
