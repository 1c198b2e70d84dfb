#include "Recorder/Symbols/LiveFunctions.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <string_view>

#include "Data/Records/CallTable.h"

namespace Recorder {

// Defined with the exported functions, sorted by name; the place in the table is the Entry.
extern const std::array<EntryPoint, EntryCount> entryPoints;

std::array<std::atomic<void*>, EntryCount> liveFunctions{};

namespace {

std::size_t Index(Entry entry)
{
    return static_cast<std::size_t>(entry);
}

/// Stands for a function that no driver has. Arguments are the caller's to clean up in the ABIs we build for.
std::uintptr_t NoFunction()
{
    return 0;
}

/// Symbol versions that the C library has had for dlsym on the machines we build for.
constexpr const char* DlsymVersions[] = {"GLIBC_2.2.5", "GLIBC_2.17", "GLIBC_2.34"};

DlsymFunction FindRealDlsym()
{
    for (const char* version : DlsymVersions)
        if (void* function = dlvsym(RTLD_NEXT, "dlsym", version))
            return reinterpret_cast<DlsymFunction>(function);
    // No C library without dlsym loads this library.
    __builtin_trap();
}

/// Where the system keeps a function. Programs may have loaded that library for one of their modules only.
const char* SystemLibrary(std::string_view function)
{
    if (Data::IsEGL(function))
        return "libEGL.so.1";
    if (function.starts_with("wl_"))
        return "libwayland-egl.so.1";
    return function.starts_with("glX") ? "libGL.so.1" : "libGLESv2.so.2";
}

void* FindInSystemLibrary(const char* name)
{
    void* const library = dlopen(SystemLibrary(name), RTLD_LAZY | RTLD_LOCAL);
    return library != nullptr ? RealDlsym()(library, name) : nullptr;
}

/// Keeps the library of `function` loaded.
void Pin(void* function)
{
    static std::atomic<void*> last = nullptr;
    Dl_info info = {};
    if (dladdr(function, &info) != 0 && last.exchange(info.dli_fbase) != info.dli_fbase)
        dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
}

void* FindByProcAddress(Entry entry)
{
    if (entry == Entry::eglGetProcAddress)
        return nullptr;
    using GetProcAddress = void* (*)(const char*);
    return Live<GetProcAddress>(Entry::eglGetProcAddress)(entryPoints[Index(entry)].name);
}

} // namespace

DlsymFunction RealDlsym() noexcept
{
    static const DlsymFunction real = FindRealDlsym();
    return real;
}

std::optional<Entry> FindEntry(const char* name) noexcept
{
    const auto found =
        std::lower_bound(entryPoints.begin(), entryPoints.end(), name, [](const EntryPoint& entry, const char* wanted) {
            return std::strcmp(entry.name, wanted) < 0;
        });
    if (found == entryPoints.end() || std::strcmp(found->name, name) != 0)
        return std::nullopt;
    return static_cast<Entry>(found - entryPoints.begin());
}

void* FunctionOf(Entry entry) noexcept
{
    return entryPoints[Index(entry)].function;
}

void OfferLive(Entry entry, void* function) noexcept
{
    void* expected = nullptr;
    if (function != FunctionOf(entry) && liveFunctions[Index(entry)].compare_exchange_strong(expected, function))
        Pin(function);
}

void* ResolveLive(Entry entry) noexcept
{
    const char* const name = entryPoints[Index(entry)].name;
    void* function = RealDlsym()(RTLD_NEXT, name);
    if (function == nullptr)
        function = FindInSystemLibrary(name);
    if (function == nullptr)
        function = FindByProcAddress(entry);
    if (function == nullptr)
        function = reinterpret_cast<void*>(&NoFunction);
    OfferLive(entry, function);
    return liveFunctions[Index(entry)].load(std::memory_order_relaxed);
}

} // namespace Recorder
