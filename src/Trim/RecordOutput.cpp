#include "Trim/RecordOutput.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "Data/Records/CallArguments.h"
#include "Data/Records/CallDecoder.h"
#include "Data/Records/CallParameters.h"

namespace Trim {

void RecordOutput::Put(std::uint32_t id, std::span<const std::uint8_t> record)
{
    if (std::uint8_t* const place = m_writer.Begin(id, record.size())) {
        constexpr std::size_t Header = sizeof(Data::RecordHeader);
        std::memcpy(place + Header, record.data() + Header, record.size() - Header);
        m_writer.End();
    }
}

void RecordOutput::CopyCall(Data::CallId call, std::span<const std::uint8_t> record)
{
    PutMakeCurrents();
    for (const std::vector<std::uint8_t>& vertices : m_vertices) {
        const Data::RecordView view(vertices.data());
        const auto fields = view.Field<Data::VertexAttribDataRecord>(0);
        if (std::uint8_t* const place = m_writer.BeginVertexAttribData(fields, fields.data.bytes)) {
            std::ranges::copy(view.Contents(fields.data), place);
            m_writer.End();
        }
    }
    m_vertices.clear();
    PutCall(call, record);
}

void RecordOutput::PutCall(Data::CallId call, std::span<const std::uint8_t> record)
{
    Put(static_cast<std::uint32_t>(call), record);
}

void RecordOutput::PutMakeCurrents()
{
    if (m_makeCurrents.empty())
        return;
    for (const auto& [thread, record] : std::exchange(m_makeCurrents, {})) {
        m_writer.SetThread(thread);
        PutCall(Data::CallId::eglMakeCurrent, record);
    }
    m_writer.SetThread(m_thread);
}

void RecordOutput::HoldVertices(std::span<const std::uint8_t> record)
{
    const Data::RecordView view(record.data());
    Data::VertexAttribDataRecord fields;
    if (view.Read(fields) && view.HasContents(fields.data))
        m_vertices.emplace_back(record.begin(), record.end());
}

void RecordOutput::Copy(std::span<const std::uint8_t> record)
{
    PutMakeCurrents();
    Put(Data::RecordView(record.data()).Header().id, record);
}

OutputCall MakeCall(Data::CallId call, std::initializer_list<OutputArgument> arguments, std::uint32_t returned)
{
    auto end =
        static_cast<std::uint32_t>(Data::RoundUp8(Data::callDecodings[static_cast<std::size_t>(call)].fixedBytes));
    std::uint64_t bytes = end;
    for (const OutputArgument& argument : arguments)
        bytes += Data::RoundUp8(argument.contents.size());
    OutputCall made{call, std::vector<std::uint8_t>(bytes)};
    std::uint8_t* const record = made.record.data();
    const Data::RecordHeader header{static_cast<std::uint32_t>(bytes), static_cast<std::uint32_t>(call)};
    std::memcpy(record, &header, sizeof header);
    if (const Data::ParameterDescription* const result = Data::ReturnOf(call))
        std::memcpy(record + result->at, &returned, std::min<std::size_t>(result->bytes, sizeof returned));
    const Data::ParameterDescription* parameter = Data::ParametersOf(call).data();
    for (const OutputArgument& argument : arguments) {
        if (parameter->form == Data::ParameterForm::Scalar) {
            std::memcpy(record + parameter->at, &argument.value, parameter->bytes);
        } else {
            const auto size = static_cast<std::uint32_t>(argument.contents.size());
            const Data::PointerSlot slot{argument.value, size, size > 0 ? end : 0};
            std::memcpy(record + parameter->at, &slot, sizeof slot);
            std::ranges::copy(argument.contents, record + end);
            end += static_cast<std::uint32_t>(Data::RoundUp8(size));
        }
        ++parameter;
    }
    return made;
}

} // namespace Trim
