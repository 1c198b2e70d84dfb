#include "Trim/RecordOutput.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "Data/Records/CallArguments.h"
#include "Data/Records/CallDecoder.h"
#include "Data/Records/CallParameters.h"
#include "Data/Records/ProgramEnd.h"

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
    for (const std::vector<std::uint8_t>& held : m_held)
        PutStackOf(Data::RecordView(held.data()));
    for (const std::vector<std::uint8_t>& held : m_held)
        m_writer.Copy(held.data());
    m_held.clear();
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

bool RecordOutput::Hold(const Data::RecordView& record)
{
    if (m_stacks.Take(record)) {
        if (Data::StackRecord stack; m_keepsStacks && record.Is(Data::RecordId::Stack) && record.Read(stack))
            PutStack(stack.stack);
        return true;
    }
    if (!Data::GoesWithNextCall(record.Header().id))
        return false;
    Data::VertexAttribDataRecord vertices;
    const bool isSound = record.Is(Data::RecordId::CallStack)
                             ? m_stacks.StackOf(record) != 0
                             : record.Read(vertices) && record.HasContents(vertices.data);
    if (isSound)
        m_held.emplace_back(record.Bytes().begin(), record.Bytes().end());
    return true;
}

/// Puts the stack that a CallStack record names, and its modules, where they are not there yet.
void RecordOutput::PutStackOf(const Data::RecordView& record)
{
    if (const std::uint32_t stack = m_stacks.StackOf(record); stack != 0)
        PutStack(stack);
}

void RecordOutput::PutStack(std::uint32_t stack)
{
    if (!m_stacks.Has(stack) || !m_putStacks.insert(stack).second)
        return;
    for (const Data::StackFrame& frame : m_stacks.Frames(stack))
        if (frame.module != 0 && m_putModules.insert(frame.module).second)
            PutModule(frame.module);
    m_writer.Stack(stack, m_stacks.Frames(stack));
}

void RecordOutput::PutModule(std::uint32_t number)
{
    const Data::CodeModule& module = m_stacks.Module(number);
    m_writer.Module({{}, number, 0, module.begin, module.end, module.bias, {}, {}}, module.buildId, module.path);
}

void RecordOutput::Copy(const Data::RecordCursor& record)
{
    PutMakeCurrents();
    for (Data::RecordCursor inner = Data::UnfinishedRecords(record); inner.Next();)
        PutStackOf(inner);
    Put(record.Header().id, record.Bytes());
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
