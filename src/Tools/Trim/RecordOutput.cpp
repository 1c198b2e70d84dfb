#include "Tools/Trim/RecordOutput.h"

#include <algorithm>
#include <cstring>

#include "Data/CallDecoder.h"
#include "Data/CallParameters.h"
#include "Tools/Trim/CallArguments.h"

namespace Tools::Trim {

void RecordOutput::Put(std::uint32_t id, std::span<const std::uint8_t> record)
{
    if (std::uint8_t* const place = m_writer.Begin(id, record.size())) {
        constexpr std::size_t header = sizeof(Data::RecordHeader);
        std::memcpy(place + header, record.data() + header, record.size() - header);
        m_writer.End();
    }
}

void RecordOutput::CopyCall(Data::CallId call, std::span<const std::uint8_t> record)
{
    for (const std::vector<std::uint8_t>& vertices : m_vertices) {
        Data::VertexAttribDataRecord fields;
        std::memcpy(&fields, vertices.data(), sizeof fields);
        if (std::uint8_t* const place = m_writer.BeginVertexAttribData(fields, fields.data.bytes)) {
            std::memcpy(place, vertices.data() + fields.data.offset, fields.data.bytes);
            m_writer.End();
        }
    }
    m_vertices.clear();
    Count(call);
    Put(static_cast<std::uint32_t>(call), record);
}

void RecordOutput::Count(Data::CallId call)
{
    ++m_calls;
    if (IsEGL(call))
        ++m_eglCalls;
}

void RecordOutput::HoldVertices(std::span<const std::uint8_t> record)
{
    Data::VertexAttribDataRecord fields;
    if (record.size() < sizeof fields)
        return;
    std::memcpy(&fields, record.data(), sizeof fields);
    if (fields.data.offset <= record.size() && fields.data.bytes <= record.size() - fields.data.offset)
        m_vertices.emplace_back(record.begin(), record.end());
}

void RecordOutput::Copy(std::span<const std::uint8_t> record)
{
    Data::RecordHeader header;
    std::memcpy(&header, record.data(), sizeof header);
    Put(header.id, record);
}

void RecordOutput::WriteCall(Data::CallId call, std::initializer_list<OutputArgument> arguments,
                             std::uint32_t returned)
{
    const std::uint32_t fixedBytes = Data::callDecodings[static_cast<std::size_t>(call)].fixedBytes;
    std::uint64_t bytes = Data::RoundUp8(fixedBytes);
    for (const OutputArgument& argument : arguments)
        bytes += Data::RoundUp8(argument.contents.size());
    std::uint8_t* const place = m_writer.Begin(static_cast<std::uint32_t>(call), bytes);
    if (!place)
        return;
    Count(call);
    if (const Data::ParameterDescription* const result = Data::ReturnOf(call))
        std::memcpy(place + result->at, &returned, std::min<std::size_t>(result->bytes, sizeof returned));
    const std::span<const Data::ParameterDescription> parameters = Data::ParametersOf(call);
    auto end = static_cast<std::uint32_t>(Data::RoundUp8(fixedBytes));
    std::size_t index = 0;
    for (const OutputArgument& argument : arguments) {
        const Data::ParameterDescription& parameter = parameters[index++];
        if (parameter.form == Data::ParameterForm::Scalar) {
            std::memcpy(place + parameter.at, &argument.value, parameter.bytes);
            continue;
        }
        Data::PointerSlot slot{argument.value, static_cast<std::uint32_t>(argument.contents.size()), 0};
        if (!argument.contents.empty()) {
            slot.offset = end;
            std::memcpy(place + end, argument.contents.data(), argument.contents.size());
            end += static_cast<std::uint32_t>(Data::RoundUp8(argument.contents.size()));
        }
        std::memcpy(place + parameter.at, &slot, sizeof slot);
    }
    m_writer.End();
}

} // namespace Tools::Trim
