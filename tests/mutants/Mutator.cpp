#include "Mutator.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "Data/GLEnums.h"

namespace Mutate {

using Data::ParameterDescription;
using Data::ParameterForm;
using Data::PointerSlot;

namespace {

namespace Enum = Data::Enum;

/// Numbers at which meanings, signs and widths change, and the enums that decide how pointers are meant.
constexpr std::uint64_t Edges[] = {0,
                                   1,
                                   0x7F,
                                   0x80,
                                   0xFFFF,
                                   0x10000,
                                   0x100000,
                                   0x7FFFFFFF,
                                   0x80000000,
                                   0xFFFFFFFF,
                                   0x7FFFFFFFFFFFFFFF,
                                   ~std::uint64_t{0},
                                   Enum::ArrayBuffer,
                                   Enum::ElementArrayBuffer,
                                   Enum::PixelPackBuffer,
                                   Enum::PixelUnpackBuffer,
                                   Enum::DrawIndirectBuffer,
                                   Enum::CopyWriteBuffer,
                                   Enum::TransformFeedbackBuffer,
                                   Enum::ShaderStorageBuffer,
                                   Enum::UnpackRowLength,
                                   Enum::UnpackSkipRows,
                                   Enum::UnpackImageHeight,
                                   Enum::PackRowLength,
                                   Enum::PackSkipPixels,
                                   Enum::PrimitiveRestartFixedIndex,
                                   Enum::UnsignedByte,
                                   Enum::UnsignedShort,
                                   Enum::UnsignedInt,
                                   Enum::Float,
                                   Enum::Rgba};

/// The returned value, if there is one, and the parameters that lie inside the record.
std::vector<ParameterDescription> Fields(const Record& record)
{
    std::vector<ParameterDescription> fields;
    if (record.Id() >= Data::callCount)
        return fields;
    const auto call = static_cast<Data::CallId>(record.Id());
    if (const ParameterDescription* const returned = Data::ReturnOf(call))
        fields.push_back(*returned);
    std::ranges::copy(Data::ParametersOf(call), std::back_inserter(fields));
    std::erase_if(fields, [&](const ParameterDescription& field) {
        return field.at + (field.form == ParameterForm::Scalar ? field.bytes : sizeof(PointerSlot)) >
               record.bytes.size();
    });
    return fields;
}

void SetField(Record& record, std::size_t at, std::size_t bytes, std::uint64_t value)
{
    std::memcpy(record.bytes.data() + at, &value, bytes);
}

std::uint64_t GetField(const Record& record, std::size_t at, std::size_t bytes)
{
    std::uint64_t value = 0;
    std::memcpy(&value, record.bytes.data() + at, bytes);
    return value;
}

bool IsInside(const Record& record, const PointerSlot& slot)
{
    return slot.offset >= sizeof(Data::RecordHeader) && slot.bytes > 0 && slot.offset <= record.bytes.size() &&
           slot.bytes <= record.bytes.size() - slot.offset;
}

} // namespace

Mutator::Mutator(const std::vector<Recording>& captures, std::uint64_t seed)
    : m_captures(captures), m_random(seed), m_chosen(seed % captures.size())
{
}

Recording Mutator::Mutant()
{
    Recording mutant = Original();
    // Few changes get further, many meet each other.
    for (std::uint64_t changes = Below(8) == 0 ? 1 + Below(40) : 1 + Below(5); changes > 0; --changes)
        if (!mutant.records.empty())
            Change(mutant.records);
    return mutant;
}

void Mutator::Change(std::vector<Record>& records)
{
    Record& record = records[Below(records.size())];
    switch (Below(10)) {
    case 0:
    case 1:
    case 2:
    case 3:
        record.Id() < Data::callCount ? ChangeParameter(record) : ChangeWord(record);
        break;
    case 4:
        ChangeWord(record);
        break;
    case 5:
        Rename(records);
        break;
    case 6:
        ChangeThread(records);
        break;
    default:
        ChangeOrder(records);
        break;
    }
}

const Record& Mutator::Stranger(std::uint32_t call)
{
    for (int tries = 0; tries < 64; ++tries) {
        const Recording& capture = m_captures[Below(m_captures.size())];
        const Record& record = capture.records[Below(capture.records.size())];
        if (record.Id() == call)
            return record;
    }
    const Recording& own = Original();
    return own.records[Below(own.records.size())];
}

std::uint64_t Mutator::Value(std::uint32_t call, std::size_t at, std::uint64_t old)
{
    switch (Below(7)) {
    case 0: {
        const Record& other = Stranger(call);
        return other.bytes.size() >= at + 8 ? other.Get<std::uint64_t>(at) : old + 1;
    }
    case 1: {
        const Record& other = Stranger(Data::callCount);
        return GetField(other, Below(other.bytes.size() / 4) * 4, 4);
    }
    case 2:
        return Edges[Below(std::size(Edges))];
    case 3:
        return old ^ std::uint64_t{1} << Below(32);
    case 4:
        return old + Below(17) - 8;
    default:
        return Below(9);
    }
}

void Mutator::ChangeParameter(Record& record)
{
    const std::vector<ParameterDescription> fields = Fields(record);
    if (fields.empty())
        return;
    const ParameterDescription& field = fields[Below(fields.size())];
    if (field.form == ParameterForm::Scalar)
        SetField(record, field.at, field.bytes, Value(record.Id(), field.at, GetField(record, field.at, field.bytes)));
    else
        ChangeSlot(record, field);
}

void Mutator::ChangeSlot(Record& record, const ParameterDescription& parameter)
{
    auto slot = record.Get<PointerSlot>(parameter.at);
    switch (Below(6)) {
    case 0:
        slot.value = Below(2) == 0 ? 0 : Value(record.Id(), parameter.at, slot.value);
        break;
    case 1:
        slot.bytes = static_cast<std::uint32_t>(Below(2) == 0 ? slot.bytes / 2 : Value(record.Id(), 8, slot.bytes));
        break;
    case 2:
        // No contents: what was memory becomes an offset, or nothing.
        slot.offset = slot.bytes = 0;
        break;
    case 3:
        slot.offset += static_cast<std::uint32_t>(Below(5) * 8);
        break;
    default:
        if (IsInside(record, slot))
            ChangeContents(record, slot);
        else
            slot.value = Value(record.Id(), parameter.at, slot.value);
        break;
    }
    record.Set(parameter.at, slot);
}

void Mutator::ChangeContents(Record& record, const PointerSlot& slot)
{
    if (slot.bytes >= 4 && Below(2) == 0) {
        const std::size_t at = slot.offset + Below(slot.bytes / 4) * 4;
        record.Set(at, static_cast<std::uint32_t>(Value(record.Id(), at, record.Get<std::uint32_t>(at))));
    } else {
        record.bytes[slot.offset + Below(slot.bytes)] = static_cast<std::uint8_t>(Below(256));
    }
}

void Mutator::ChangeWord(Record& record)
{
    const std::uint64_t words = record.bytes.size() / 4;
    if (words > 2) {
        const std::size_t at = 4 * (2 + Below(words - 2));
        record.Set(at, static_cast<std::uint32_t>(Value(record.Id(), at, record.Get<std::uint32_t>(at))));
    }
}

/// Turns one small number into another wherever it stands from some record on: another object, thread or context.
void Mutator::Rename(std::vector<Record>& records)
{
    const auto from = static_cast<std::uint32_t>(1 + Below(6));
    const auto to = static_cast<std::uint32_t>(Below(7));
    const std::size_t first = Below(records.size());
    const std::size_t end = std::min(records.size(), first + 1 + Below(60));
    const std::uint32_t call = Below(2) == 0 ? records[first].Id() : Data::callCount;
    for (std::size_t i = first; i < end; ++i) {
        if (call != Data::callCount && records[i].Id() != call)
            continue;
        for (const ParameterDescription& field : Fields(records[i]))
            if (field.form == ParameterForm::Scalar && field.bytes == 4 &&
                records[i].Get<std::uint32_t>(field.at) == from)
                records[i].Set(field.at, to);
    }
}

void Mutator::ChangeOrder(std::vector<Record>& records)
{
    const auto at = [&](std::size_t index) { return records.begin() + static_cast<std::ptrdiff_t>(index); };
    const std::size_t place = Below(records.size());
    const std::size_t other = Below(records.size());
    switch (Below(6)) {
    case 0:
        records.erase(at(place));
        break;
    case 1:
        records.insert(at(place), Record(records[place]));
        break;
    case 2:
        std::swap(records[place], records[other]);
        break;
    case 3:
        records.insert(at(place), Record(records[other]));
        break;
    case 4: {
        // A run of records goes, or comes a second time.
        const std::size_t end = std::min(records.size(), place + 1 + Below(12));
        const std::vector<Record> run(at(place), at(end));
        if (Below(2) == 0)
            records.erase(at(place), at(end));
        else
            records.insert(at(other), run.begin(), run.end());
        break;
    }
    default: {
        const std::vector<Record>& strangers = m_captures[Below(m_captures.size())].records;
        const std::size_t first = Below(strangers.size());
        const std::size_t end = std::min(strangers.size(), first + 1 + Below(8));
        records.insert(at(place), strangers.begin() + static_cast<std::ptrdiff_t>(first),
                       strangers.begin() + static_cast<std::ptrdiff_t>(end));
        break;
    }
    }
}

void Mutator::ChangeThread(std::vector<Record>& records)
{
    const Data::ThreadRecord thread{{sizeof(Data::ThreadRecord), static_cast<std::uint32_t>(Data::RecordId::Thread)},
                                    static_cast<std::uint32_t>(Below(4)),
                                    0};
    Record record;
    record.bytes.resize(sizeof thread);
    record.Set(0, thread);
    records.insert(records.begin() + static_cast<std::ptrdiff_t>(Below(records.size())), record);
}

} // namespace Mutate
