#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "Data/Records/CallParameters.h"
#include "Data/Records/CallTable.h"
#include "Data/Records/RecordView.h"

namespace Data {

/// Reads the arguments of a call's record by their number, from 0. What lies outside of the record reads as 0, as does
/// a pointer without contents: replay refuses such a record itself.
class CallArguments : public RecordView {
public:
    CallArguments(CallId call, const RecordView& record) : RecordView(record), m_call(call) {}

    [[nodiscard]] CallId Call() const { return m_call; }
    [[nodiscard]] std::size_t Count() const { return ParametersOf(m_call).size(); }

    /// An argument of 4 bytes.
    [[nodiscard]] std::uint32_t Unsigned(std::size_t index) const { return Field<std::uint32_t>(Place(index)); }
    [[nodiscard]] std::int32_t Signed(std::size_t index) const { return Field<std::int32_t>(Place(index)); }
    /// An argument of 8 bytes.
    [[nodiscard]] std::int64_t Wide(std::size_t index) const { return Field<std::int64_t>(Place(index)); }
    /// The parameter of that name, where the call has one that is a number of 4 bytes.
    [[nodiscard]] std::optional<std::int32_t> Find(std::string_view name) const
    {
        for (const ParameterDescription& parameter : ParametersOf(m_call))
            if (parameter.name == name && parameter.form == ParameterForm::Scalar)
                return Field<std::int32_t>(parameter.at);
        return std::nullopt;
    }
    /// Any number; of a pointer its value in the recorded program.
    [[nodiscard]] double Number(std::size_t index) const
    {
        const ParameterDescription& parameter = ParametersOf(m_call)[index];
        const std::uint32_t at = parameter.at;
        if (parameter.form != ParameterForm::Scalar)
            return static_cast<double>(Field<PointerSlot>(at).value);
        return NumberOf(parameter.code, [this, at]<class T>(T) { return static_cast<double>(Field<T>(at)); });
    }
    /// Adds all elements of an array of numbers.
    void AddNumbers(std::size_t index, std::vector<double>& numbers) const
    {
        const std::span<const std::uint8_t> contents = Contents(index);
        const char code = ParametersOf(m_call)[index].code;
        NumberOf(code, [&]<class T>(T element) {
            for (std::size_t at = 0; at + sizeof element <= contents.size(); at += sizeof element) {
                std::memcpy(&element, contents.data() + at, sizeof element);
                numbers.push_back(static_cast<double>(element));
            }
            return 0.0;
        });
    }
    /// The memory behind a pointer.
    [[nodiscard]] std::span<const std::uint8_t> Contents(std::size_t index) const
    {
        return RecordView::Contents(Field<PointerSlot>(Place(index)));
    }
    /// Element `element` of the memory behind a pointer; 0 beyond its end.
    [[nodiscard]] std::uint32_t Element(std::size_t index, std::size_t element) const
    {
        const std::span<const std::uint8_t> contents = Contents(index);
        std::uint32_t value = 0;
        if (element < contents.size() / sizeof value)
            std::memcpy(&value, contents.data() + element * sizeof value, sizeof value);
        return value;
    }
    /// Calls `visit` with each name of objects in a parameter, counted from 1: its value, or as many elements as the
    /// first parameter says. 0: the returned name.
    template <class Visit> void ForEachName(std::size_t parameter, Visit visit) const
    {
        if (parameter == 0)
            visit(Returned());
        else if (ParametersOf(m_call)[parameter - 1].form == ParameterForm::Scalar)
            visit(Unsigned(parameter - 1));
        else
            for (std::uint32_t i = 0; i < std::min(Unsigned(0), ElementCount(parameter - 1)); ++i)
                visit(Element(parameter - 1, i));
    }
    /// Whole elements of 4 bytes.
    [[nodiscard]] std::uint32_t ElementCount(std::size_t index) const
    {
        return static_cast<std::uint32_t>(Contents(index).size() / sizeof(std::uint32_t));
    }
    [[nodiscard]] std::string_view Text(std::size_t index) const
    {
        const std::string_view text = RecordView::Text(Field<PointerSlot>(Place(index)));
        return text.substr(0, text.find('\0'));
    }
    /// The returned value, where it has 4 bytes.
    [[nodiscard]] std::uint32_t Returned() const
    {
        const ParameterDescription* const returned = ReturnOf(m_call);
        return returned ? Field<std::uint32_t>(returned->at) : 0;
    }

private:
    /// Calls `read` with a number of the type that a signature calls `code`.
    template <class Read> static double NumberOf(char code, Read read)
    {
        switch (code) {
        case 'f':
            return read(float{});
        case 'i':
            return read(std::int32_t{});
        case 'l':
            return read(std::int64_t{});
        default:
            return read(std::uint32_t{});
        }
    }
    [[nodiscard]] std::uint32_t Place(std::size_t index) const { return ParametersOf(m_call)[index].at; }

    CallId m_call;
};

} // namespace Data
