// The names of the functions in the live tables, and where drivers have them.
#pragma once

#include <span>
#include <string_view>

#include "Interfaces/ProcTables.h"

namespace Core {

/// One registered name under which a driver may have a function of the tables.
struct FunctionForm {
    FuncId id;
    const char* name;
    /// What a driver must have so that the function behind `name` is real: a version of the API ("3.1"), extensions
    /// joined by "|", or "symbol": no extension string tells, the library exports the function.
    std::string_view where;

    [[nodiscard]] bool IsSymbol() const { return where == "symbol"; }
};

/// The forms of a function, its own name first; empty for a number that is no function's.
[[nodiscard]] std::span<const FunctionForm> FormsOf(unsigned int id);

/// The function of this name, or the one that this name is another form of; FuncId::None when there is none.
[[nodiscard]] FuncId FindFunction(std::string_view name);

} // namespace Core
