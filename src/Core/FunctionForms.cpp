#include "Core/FunctionForms.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>

namespace Core {

namespace {

/// Ordered by id.
constexpr FunctionForm Forms[] = {
#include "Core/FunctionForms.inc"
};

bool ComesBefore(const FunctionForm& form, FuncId id)
{
    return form.id < id;
}

std::unordered_map<std::string_view, FuncId> MakeNameMap()
{
    std::unordered_map<std::string_view, FuncId> map;
    // A function's own name wins over the same name as a form of another function.
    FuncId previous = FuncId::None;
    for (const FunctionForm& form : Forms) {
        if (form.id != previous)
            map[form.name] = form.id;
        else
            map.emplace(form.name, form.id);
        previous = form.id;
    }
    return map;
}

} // namespace

std::span<const FunctionForm> FormsOf(unsigned int id)
{
    const auto* first = std::lower_bound(std::begin(Forms), std::end(Forms), static_cast<FuncId>(id), ComesBefore);
    const auto* last = std::lower_bound(first, std::end(Forms), static_cast<FuncId>(id + 1), ComesBefore);
    return {first, last};
}

FuncId FindFunction(std::string_view name)
{
    static const auto map = MakeNameMap();
    const auto found = map.find(name);
    return found == map.end() ? FuncId::None : found->second;
}

} // namespace Core
