// Where in the recorded program calls came from.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "Data/Capture/Format.h"
#include "Data/Records/RecordView.h"

namespace Data {

class Diagnostics;

/// A file of code as it lay in the program's memory.
struct CodeModule {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    /// What is added to the file's own addresses.
    std::uint64_t bias = 0;
    /// Empty: the file has none.
    std::vector<std::uint8_t> buildId;
    std::string path;
};

/// The modules and stacks of a capture, as far as it was read. What makes no sense is reported and left out; a number
/// that is given again means what it meant first.
class CallStacks {
public:
    explicit CallStacks(Diagnostics& diagnostics) : m_diagnostics(diagnostics) {}

    /// Takes note of a module or stack. False for other records.
    bool Take(const RecordView& record);
    /// The stack that a CallStack record names; 0 for other records, and when the capture has no such stack.
    [[nodiscard]] std::uint32_t StackOf(const RecordView& record);

    [[nodiscard]] bool Has(std::uint32_t stack) const { return m_stacks.contains(stack); }
    /// Innermost first. The stack and module must be there, as those are that Take and StackOf let pass.
    [[nodiscard]] const std::vector<StackFrame>& Frames(std::uint32_t stack) const { return m_stacks.at(stack); }
    [[nodiscard]] const CodeModule& Module(std::uint32_t module) const { return m_modules.at(module); }

private:
    void TakeModule(const RecordView& record);
    void TakeStack(const RecordView& record);

    Diagnostics& m_diagnostics;
    std::unordered_map<std::uint32_t, CodeModule> m_modules;
    std::unordered_map<std::uint32_t, std::vector<StackFrame>> m_stacks;
};

} // namespace Data
