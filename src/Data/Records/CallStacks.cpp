#include "Data/Records/CallStacks.h"

#include <algorithm>
#include <cstring>

#include "Data/Diagnostics.h"

namespace Data {

namespace {

bool IsNumber(std::uint32_t number, std::uint32_t most)
{
    return number > 0 && number <= most;
}

std::string UpTo(std::uint32_t most)
{
    return "from 1 to " + std::to_string(most);
}

} // namespace

bool CallStacks::Take(const RecordView& record)
{
    if (record.Is(RecordId::Module))
        TakeModule(record);
    else if (record.Is(RecordId::Stack))
        TakeStack(record);
    else
        return false;
    return true;
}

void CallStacks::TakeModule(const RecordView& record)
{
    constexpr const char* Name = "module";
    ModuleRecord fields;
    if (!m_diagnostics.Read(Name, record, fields))
        return;
    if (!IsNumber(fields.module, MaxModules)) {
        m_diagnostics.Skipped(Name, "number", UpTo(MaxModules), std::to_string(fields.module));
        return;
    }
    const bool hasId = fields.buildId.bytes > 0;
    if (!record.HasContents(fields.path) || (hasId && !record.HasContents(fields.buildId)) ||
        fields.path.bytes > MaxPathBytes || fields.buildId.bytes > MaxBuildIdBytes) {
        m_diagnostics.Skipped(Name, "path and build-id",
                              "at most " + Bytes(MaxPathBytes) + " and " + Bytes(MaxBuildIdBytes) +
                                  " inside the record",
                              Bytes(fields.path.bytes) + " and " + Bytes(fields.buildId.bytes));
        return;
    }
    const auto buildId = record.Contents(fields.buildId);
    m_modules.try_emplace(fields.module, CodeModule{fields.begin,
                                                    fields.end,
                                                    fields.bias,
                                                    {buildId.begin(), buildId.end()},
                                                    std::string(record.Text(fields.path))});
}

void CallStacks::TakeStack(const RecordView& record)
{
    constexpr const char* Name = "stack";
    StackRecord fields;
    if (!m_diagnostics.Read(Name, record, fields))
        return;
    const std::size_t count = fields.frames.bytes / sizeof(StackFrame);
    if (!IsNumber(fields.stack, MaxStacks)) {
        m_diagnostics.Skipped(Name, "number", UpTo(MaxStacks), std::to_string(fields.stack));
        return;
    }
    if (!record.HasContents(fields.frames) || fields.frames.bytes % sizeof(StackFrame) != 0 || count > MaxStackFrames) {
        m_diagnostics.Skipped(Name, "frames", "at most " + std::to_string(MaxStackFrames) + " inside the record",
                              Bytes(fields.frames.bytes));
        return;
    }
    std::vector<StackFrame> frames(count);
    if (count > 0)
        std::memcpy(frames.data(), record.Contents(fields.frames).data(), fields.frames.bytes);
    for (const StackFrame& frame : frames) {
        if (frame.module != 0 && !m_modules.contains(frame.module)) {
            m_diagnostics.Skipped(Name, "module", "one that the capture has", std::to_string(frame.module));
            return;
        }
    }
    m_stacks.try_emplace(fields.stack, std::move(frames));
}

std::uint32_t CallStacks::StackOf(const RecordView& record)
{
    CallStackRecord fields;
    if (!record.Is(RecordId::CallStack) || !m_diagnostics.Read("call's stack", record, fields))
        return 0;
    if (m_stacks.contains(fields.stack))
        return fields.stack;
    m_diagnostics.Skipped("call's stack", "stack", "one that the capture has", std::to_string(fields.stack));
    return 0;
}

} // namespace Data
