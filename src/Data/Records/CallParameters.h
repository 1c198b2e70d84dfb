// Names, places and types of the parameters of each call, for messages and listings.
#pragma once

#include <cstdint>
#include <span>

#include "Data/CallIds.h"

namespace Data {

enum class ParameterForm : std::uint8_t {
    Scalar,
    Opaque,  ///< a pointer that has no contents
    Array,   ///< of elements of type `code`
    Text,    ///< characters
    Strings, ///< array of strings
    Lists,   ///< array of arrays
    Attribs, ///< (attribute, value) pairs
};

/// One parameter, or the returned value, whose name is empty.
struct ParameterDescription {
    const char* name;
    ParameterForm form;
    /// Type of the value or of the elements, as the letter of the signature; x for bytes.
    char code;
    bool isOutput;
    /// Of the value or of one element.
    std::uint8_t bytes;
    /// Place in the record of the value or of the pointer slot.
    std::uint16_t at;
};

/// In the order of the prototype.
std::span<const ParameterDescription> ParametersOf(CallId call);
/// Null for a call that returns nothing.
const ParameterDescription* ReturnOf(CallId call);

} // namespace Data
