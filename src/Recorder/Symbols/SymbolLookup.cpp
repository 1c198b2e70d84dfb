// How programs get at functions without linking to them: dlsym, eglGetProcAddress and glXGetProcAddress.
//
// Where a program asks for a function that the library stands in for, it is handed ours, and the driver's function
// behind it is remembered as the one to forward to. Functions whose calls cannot be recorded look missing to those who
// ask eglGetProcAddress; who gets them by other ways gets them, and their calls are counted.

#include <cstring>
#include <dlfcn.h>

#include "Recorder/EGLObjects.h"
#include "Recorder/Report.h"
#include "Recorder/Symbols/CountedCalls.h"
#include "Recorder/Symbols/Export.h"
#include "Recorder/Symbols/LiveFunctions.h"
#include "Recorder/Symbols/Unrecorded.h"
#include "Recorder/Thread.h"

namespace Recorder {
namespace {

bool StartsWith(const char* text, const char* start)
{
    return std::strncmp(text, start, std::strlen(start)) == 0;
}

/// True for what belongs to a library of EGL or OpenGL, rather than to a program that uses such names for its own.
bool IsInGLLibrary(void* function)
{
    Dl_info info = {};
    if (dladdr(function, &info) == 0)
        return false;
    const char* const slash = std::strrchr(info.dli_fname, '/');
    const char* const file = slash != nullptr ? slash + 1 : info.dli_fname;
    return StartsWith(file, "libEGL") || StartsWith(file, "libGL") || StartsWith(file, "libOpenGL");
}

/// dlsym of a library's handle: the library's function, or ours in its place.
void* DlsymOfLibrary(void* handle, const char* name) noexcept
{
    void* const found = RealDlsym()(handle, name);
    if (found == nullptr)
        return nullptr;
    if (const auto entry = FindEntry(name)) {
        OfferLive(*entry, found);
        return FunctionOf(*entry);
    }
    return !DriverGuard::Inside() && IsUnrecordable(name) && IsInGLLibrary(found) ? CountCallsOf(name, found) : found;
}

bool MayBeOurs(const char* name)
{
    return StartsWith(name, "gl") || StartsWith(name, "egl") || StartsWith(name, "wl_egl_window_");
}

/// Tells playback-record what the program itself looks up.
void ReportProgramsLookup(const char* name)
{
    if (name != nullptr && (StartsWith(name, "glX") || StartsWith(name, "vk")) && !DriverGuard::Inside())
        ReportLookup(name);
}

/// What becomes of functions that exist and that the library does not stand in for.
enum class Unknown { Hide, Give };

using Finder = void* (*)(const char*);

/// The answer of a function that finds others: ours in the place of what it finds.
void* ProcAddress(Finder find, const char* name, Unknown unknown) noexcept
{
    ReportProgramsLookup(name);
    void* found = nullptr;
    {
        const DriverGuard guard;
        found = find(name);
    }
    if (found == nullptr || name == nullptr)
        return found;
    if (const auto entry = FindEntry(name)) {
        OfferLive(*entry, found);
        return FunctionOf(*entry);
    }
    if (DriverGuard::Inside() || !IsUnrecordable(name))
        return found;
    return unknown == Unknown::Hide ? nullptr : CountCallsOf(name, found);
}

} // namespace
} // namespace Recorder

/// Where dlsym(handle, name) goes on. The C library finds the caller of dlsym by its return address when asked for
/// RTLD_NEXT, so such calls have to reach it as if this library were not there: dlsym jumps to the answer.
extern "C" __attribute__((used, visibility("hidden"))) void* RecorderDlsymTarget(void* handle,
                                                                                 const char* name) noexcept
{
    using namespace Recorder;
    ReportProgramsLookup(name);
    // RTLD_DEFAULT finds the exported functions of this library by itself.
    if (handle == RTLD_NEXT || handle == RTLD_DEFAULT || name == nullptr || !MayBeOurs(name))
        return reinterpret_cast<void*>(RealDlsym());
    return reinterpret_cast<void*>(&DlsymOfLibrary);
}

#if defined(__x86_64__)
asm(R"(
    .text
    .globl dlsym
    .type dlsym, @function
dlsym:
    .cfi_startproc
    endbr64
    pushq %rdi
    .cfi_adjust_cfa_offset 8
    pushq %rsi
    .cfi_adjust_cfa_offset 8
    subq $8, %rsp
    .cfi_adjust_cfa_offset 8
    call RecorderDlsymTarget
    addq $8, %rsp
    .cfi_adjust_cfa_offset -8
    popq %rsi
    .cfi_adjust_cfa_offset -8
    popq %rdi
    .cfi_adjust_cfa_offset -8
    jmp *%rax
    .cfi_endproc
    .size dlsym, .-dlsym
)");
#elif defined(__aarch64__)
asm(R"(
    .text
    .globl dlsym
    .type dlsym, %function
dlsym:
    .cfi_startproc
    hint #34
    stp x29, x30, [sp, #-32]!
    .cfi_def_cfa_offset 32
    .cfi_offset 29, -32
    .cfi_offset 30, -24
    mov x29, sp
    stp x0, x1, [sp, #16]
    bl RecorderDlsymTarget
    mov x16, x0
    ldp x0, x1, [sp, #16]
    ldp x29, x30, [sp], #32
    .cfi_restore 29
    .cfi_restore 30
    .cfi_def_cfa_offset 0
    br x16
    .cfi_endproc
    .size dlsym, .-dlsym
)");
#else
#error "dlsym has to be written for this machine"
#endif

// Not recorded: what it answers is for the program alone.
RECORDER_EXPORT void* eglGetProcAddress(const char* name)
{
    using namespace Recorder;
    const auto live = Live<Finder>(Entry::eglGetProcAddress);
    return ProcAddress(live, name, UsesDesktopGL() ? Unknown::Give : Unknown::Hide);
}

RECORDER_EXPORT void* glXGetProcAddress(const char* name)
{
    using namespace Recorder;
    return ProcAddress(Live<Finder>(Entry::glXGetProcAddress), name, Unknown::Give);
}

RECORDER_EXPORT void* glXGetProcAddressARB(const char* name)
{
    using namespace Recorder;
    return ProcAddress(Live<Finder>(Entry::glXGetProcAddressARB), name, Unknown::Give);
}
