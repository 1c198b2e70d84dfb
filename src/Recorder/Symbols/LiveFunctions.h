// The functions that the library stands in for, and the driver's functions behind them.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <optional>

#include "Recorder/Symbols/Entry.h"

namespace Recorder {

/// A function that the library exports: what a program is handed for `name`.
struct EntryPoint {
    const char* name;
    void* function;
};

/// The driver's functions, by Entry. Null until first asked for; never null afterwards, see ResolveLive.
extern std::array<std::atomic<void*>, EntryCount> liveFunctions;

/// The entry called `name`; nothing for names the library does not stand in for.
[[nodiscard]] std::optional<Entry> FindEntry(const char* name) noexcept;

/// What to hand a program that asks for `entry`.
[[nodiscard]] void* FunctionOf(Entry entry) noexcept;

/// Remembers where the program itself found the driver's function. The first answer stands, and its library stays
/// loaded even when the program closes it.
void OfferLive(Entry entry, void* function) noexcept;

/// Looks the driver's function up: after this library in the program's own search order, in the libraries that
/// programs load outside that order, then through eglGetProcAddress. Where no driver has it, the answer is a
/// function that returns 0.
[[nodiscard]] void* ResolveLive(Entry entry) noexcept;

/// The driver's function behind `entry`, as a `Function` pointer.
template <class Function> [[nodiscard, gnu::always_inline]] inline Function Live(Entry entry) noexcept
{
    void* function = liveFunctions[static_cast<std::size_t>(entry)].load(std::memory_order_relaxed);
    if (__builtin_expect(function == nullptr, 0))
        function = ResolveLive(entry);
    return reinterpret_cast<Function>(function);
}

/// The C library's dlsym: the library's own look-ups go there.
using DlsymFunction = void* (*)(void* handle, const char* name);
[[nodiscard]] DlsymFunction RealDlsym() noexcept;

} // namespace Recorder
