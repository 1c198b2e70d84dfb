// Stacks as text: what playback-info --dump --stacks prints.
#pragma once

#include <string>
#include <unordered_map>
#include <utility>

#include "Data/Diagnostics.h"
#include "Data/Records/CallStacks.h"
#include "Tools/Info/Notation.h"
#include "Tools/Info/Stacks/Symbols.h"

namespace Tools {

/// Follows the records of a capture, each of which is to be taken in order.
class StackText {
public:
    /// `folders` as Symbols has it.
    StackText(Notation notation, const std::string& folders, Data::Diagnostics& diagnostics);

    /// Takes note of a module, a stack, or the stack of the next call. False for other records.
    bool Take(const Data::RecordView& record);
    /// The stack of the call that comes next, 0 for none. Not that of the one after it, so it is asked for once.
    [[nodiscard]] std::uint32_t TakeNext() { return std::exchange(m_next, 0); }

    /// A stack, innermost first: lines, each with a line end in front, or a JSON array.
    [[nodiscard]] const std::string& Text(std::uint32_t stack);
    /// Text was asked for.
    [[nodiscard]] bool HasAny() const { return !m_texts.empty(); }

private:
    [[nodiscard]] std::string Frames(std::uint32_t stack);

    const Notation m_notation;
    Data::CallStacks m_stacks;
    Symbols m_symbols;
    std::uint32_t m_next = 0;
    std::unordered_map<std::uint32_t, std::string> m_texts;
};

} // namespace Tools
