// How the fake driver describes its functions to itself; the generated entry points are made of these.
#pragma once

#include <span>

#include "FakeDriver/FakeControl.h"

namespace Fake {

/// How a value is written in the log.
enum class Form : std::uint8_t {
    None,
    Signed,
    Unsigned,
    Bool,
    Float,
    Bits,
    Enum,
    EGLEnum,
    Primitive,
    Handle,
    Pointer,
    Byte,
    // Pointers to something.
    CString,
    Characters,
    Strings,
    Array,
    Attribs,
    Attribs64,
};

/// What a function returns when nothing else is known of it.
enum class Answer : std::uint8_t {
    Zero,
    True,
    NewName,
    LocationUniform,
    LocationAttribute,
    LocationOutput,
    LocationOutputIndex,
    LocationBlock,
};

struct Parameter {
    const char* name;
    Form form;
    Form elementForm;
    std::uint8_t elementBytes;
    bool out;
    /// A buffer can be bound that turns the pointer into an offset.
    bool offset;
    /// The value or the elements name objects.
    bool names;
    /// Elements behind the pointer, from the words of all arguments; null where only a real driver could tell.
    std::int64_t (*count)(const Word* args);
};

struct Function {
    const char* name;
    Form returns;
    Answer answer;
    std::span<const Parameter> parameters;
};

struct Entry {
    const Function* function;
    void* address;
};

/// All functions, in the order of the API description.
std::span<const Entry> Entries();

/// Plays a call and writes it to the log.
Word Invoke(const Function& function, const Word* args);

/// True while tests want the function not to be there.
bool IsMissing(const Function& function);

/// What the dynamic linker gets for a symbol: `address`, or null while the function is missing.
template <class T> T* Find(const Function& function, T* address)
{
    return IsMissing(function) ? nullptr : address;
}

/// A value as the log has it.
std::string FormatValue(Form form, Word value);
/// "name(inputs" up to the closing bracket, before the call is played.
std::string FormatInputs(const Function& function, const Word* args);
/// " = value, outputs" afterwards; empty when there is neither.
std::string FormatResults(const Function& function, const Word* args, Word value);

} // namespace Fake
