#include "Recorder/LiveFunctions.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <dlfcn.h>

namespace Recorder {

// Defined with the exported functions, sorted by name; the place in the table is the Entry.
extern const std::array<EntryPoint, entryCount> entryPoints;

std::array<std::atomic<void*>, entryCount> liveFunctions{};

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
constexpr const char* dlsymVersions[] = {"GLIBC_2.2.5", "GLIBC_2.17", "GLIBC_2.34"};

DlsymFunction FindRealDlsym()
{
    for (const char* version : dlsymVersions) {
        if (void* function = dlvsym(RTLD_NEXT, "dlsym", version)) {
            return reinterpret_cast<DlsymFunction>(function);
        }
    }
    // No C library without dlsym loads this library.
    __builtin_trap();
}

void* SystemLibrary(const char* name)
{
    return dlopen(name, RTLD_LAZY | RTLD_LOCAL);
}

void* FindInSystemLibraries(const char* name)
{
    static void* const libraries[] = {SystemLibrary("libEGL.so.1"), SystemLibrary("libGLESv2.so.2")};
    for (void* library : libraries) {
        void* const function = library != nullptr ? RealDlsym()(library, name) : nullptr;
        if (function != nullptr) {
            return function;
        }
    }
    return nullptr;
}

void* FindByProcAddress(Entry entry)
{
    if (entry == Entry::eglGetProcAddress) {
        return nullptr;
    }
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
    if (found == entryPoints.end() || std::strcmp(found->name, name) != 0) {
        return std::nullopt;
    }
    return static_cast<Entry>(found - entryPoints.begin());
}

void* FunctionOf(Entry entry) noexcept
{
    return entryPoints[Index(entry)].function;
}

void OfferLive(Entry entry, void* function) noexcept
{
    void* expected = nullptr;
    if (function != FunctionOf(entry)) {
        liveFunctions[Index(entry)].compare_exchange_strong(expected, function);
    }
}

void* ResolveLive(Entry entry) noexcept
{
    const char* const name = entryPoints[Index(entry)].name;
    void* function = RealDlsym()(RTLD_NEXT, name);
    if (function == nullptr) {
        function = FindInSystemLibraries(name);
    }
    if (function == nullptr) {
        function = FindByProcAddress(entry);
    }
    if (function == nullptr) {
        function = reinterpret_cast<void*>(&NoFunction);
    }
    OfferLive(entry, function);
    return liveFunctions[Index(entry)].load(std::memory_order_relaxed);
}

} // namespace Recorder
