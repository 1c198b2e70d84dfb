#pragma once

#include <cstdint>
#include <initializer_list>
#include <map>
#include <set>
#include <span>
#include <vector>

#include "Data/CallIds.h"
#include "Data/Capture/CaptureWriter.h"
#include "Data/Records/CallStacks.h"
#include "Data/Records/RecordCursor.h"

namespace Trim {

/// An argument of a call that is written: a number, or memory.
struct OutputArgument {
    template <class Number>
    OutputArgument(Number number) : value(static_cast<std::uint64_t>(number)) // NOLINT(google-explicit-constructor)
    {
    }
    OutputArgument(std::span<const std::uint8_t> memory) : contents(memory) {} // NOLINT(google-explicit-constructor)

    std::uint64_t value = 0;
    std::span<const std::uint8_t> contents;
};

/// The record of a call.
struct OutputCall {
    Data::CallId id;
    std::vector<std::uint8_t> record;
};

/// Makes the record of a call; memory that the call returns is given as an argument.
OutputCall MakeCall(Data::CallId call, std::initializer_list<OutputArgument> arguments, std::uint32_t returned = 0);

/// Writes records of another capture, and calls of its own, to a capture.
class RecordOutput {
public:
    /// `keepsStacks`: also those from which no call of the output comes.
    RecordOutput(Data::CaptureWriter& writer, Data::Diagnostics& diagnostics, bool keepsStacks)
        : m_writer(writer), m_keepsStacks(keepsStacks), m_stacks(diagnostics)
    {
    }

    void SetThread(std::uint32_t thread)
    {
        m_thread = thread;
        m_writer.SetThread(thread);
    }
    /// Copies a call; `call` is its number here. What is held for it goes along.
    void CopyCall(Data::CallId call, std::span<const std::uint8_t> record);
    /// Copies an eglMakeCurrent when something else is copied, unless the thread makes something current before that.
    void HoldMakeCurrent(std::span<const std::uint8_t> record)
    {
        m_makeCurrents[m_thread].assign(record.begin(), record.end());
        DropHeld();
    }
    /// Copies what HoldMakeCurrent holds.
    void PutMakeCurrents();
    /// Holds what belongs to the next call, such as its vertices, and stacks until a call is from them. False for other
    /// records.
    bool Hold(const Data::RecordView& record);
    /// The call is not copied.
    void DropHeld() { m_held.clear(); }
    /// Copies a record that is no call and no frame's or block's start or end.
    void Copy(const Data::RecordCursor& record);
    void Write(const OutputCall& call) { CopyCall(call.id, call.record); }

    [[nodiscard]] Data::CaptureWriter& Writer() { return m_writer; }

private:
    void Put(std::uint32_t id, std::span<const std::uint8_t> record);
    void PutCall(Data::CallId call, std::span<const std::uint8_t> record);
    void PutStackOf(const Data::RecordView& record);
    void PutStack(std::uint32_t stack);
    void PutModule(std::uint32_t number);

    Data::CaptureWriter& m_writer;
    const bool m_keepsStacks;
    Data::CallStacks m_stacks;
    /// Those that are in the output.
    std::set<std::uint32_t> m_putStacks;
    std::set<std::uint32_t> m_putModules;
    std::uint32_t m_thread = 0;
    /// By thread.
    std::map<std::uint32_t, std::vector<std::uint8_t>> m_makeCurrents;
    std::vector<std::vector<std::uint8_t>> m_held;
};

} // namespace Trim
