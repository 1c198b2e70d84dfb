// How values of a capture are written: for people, or as JSON.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "Data/Records/CallArguments.h"
#include "Data/State/BufferBindings.h"

namespace Tools {

enum class Notation {
    /// Enums by their names; long contents are shortened.
    Plain,
    /// As Plain, with all of texts and arrays.
    Full,
    /// Numbers are numbers, names and hexadecimal numbers are strings; memory is an object with its size.
    Json,
};

/// An argument or a returned value of a call, by its place in the record. Nothing in the record is believed: what does
/// not fit is shown as "?". `bindings` are those in front of the call: they tell an offset into a
/// buffer from an address.
std::string ArgumentText(Notation notation, const Data::CallArguments& call,
                         const Data::ParameterDescription& parameter, const Data::BufferBindings& bindings);

/// Whether the value of this parameter of a texture or a sampler is an enum.
bool IsEnumParameter(std::uint32_t name);
/// An OpenGL ES enum by its name, as Notation::Plain has it.
std::string EnumText(std::uint32_t value);
std::string HexText(std::uint64_t value);
/// A JSON string; bytes that are no UTF-8 are replaced.
std::string JsonString(std::string_view text);

} // namespace Tools
