// Each function that is handed out takes one of a number of entries, which differ in nothing but their number. Behind
// them is code for all that keeps the argument registers, has the call counted and jumps to the driver's function, so
// that arguments and results pass through untouched.

#include "Recorder/Symbols/CountedCalls.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <mutex>

#include "Recorder/Capture.h"
#include "Recorder/Channel/Connection.h"

/// Entries, and bytes from one to the next; in the code below as well.
#define COUNTED_ENTRIES 1024
#define COUNTED_ENTRY_BYTES 16
#define TEXT_OF(macro) TEXT(macro)
#define TEXT(what) #what

extern "C" __attribute__((visibility("hidden"))) const std::uint8_t RecorderCountedEntries[];

namespace Recorder {
namespace {

struct CountedFunction {
    const char* name = nullptr;
    void* function = nullptr;
    /// Null until it is called where it counts.
    std::atomic<std::atomic<std::uint64_t>*> calls = nullptr;
};

struct CountedFunctions {
    std::mutex mutex;
    std::size_t count = 0;
    std::array<CountedFunction, COUNTED_ENTRIES> all;
};
CountedFunctions counted;

void Count(CountedFunction& function)
{
    std::atomic<std::uint64_t>* calls = function.calls;
    if (calls == nullptr && capture.channel != nullptr) {
        calls = SharedCount(*capture.channel, function.name);
        function.calls = calls;
    }
    if (calls != nullptr)
        ++*calls;
}

void* EntryOf(std::size_t index)
{
    return const_cast<std::uint8_t*>(RecorderCountedEntries + index * COUNTED_ENTRY_BYTES);
}

} // namespace

void* CountCallsOf(const char* name, void* function) noexcept
{
    const std::lock_guard lock(counted.mutex);
    for (std::size_t i = 0; i < counted.count; ++i)
        if (counted.all[i].function == function && std::strcmp(counted.all[i].name, name) == 0)
            return EntryOf(i);
    // Kept for good, as the program keeps the function.
    const char* const ownName = counted.count < counted.all.size() ? strdup(name) : nullptr;
    if (ownName == nullptr)
        return function;
    counted.all[counted.count].name = ownName;
    counted.all[counted.count].function = function;
    return EntryOf(counted.count++);
}

} // namespace Recorder

/// Counts the call and answers where it goes on. Calls of gl functions count where others are recorded: with a context
/// of OpenGL ES, and not from within the driver.
extern "C" __attribute__((used, visibility("hidden"))) void* RecorderCountCall(std::size_t index) noexcept
{
    using namespace Recorder;
    CountedFunction& function = counted.all[index];
    const bool isEGL = std::strncmp(function.name, "egl", 3) == 0;
    if (isEGL ? !DriverGuard::Inside() : thread.recording != nullptr)
        Count(function);
    return function.function;
}

#if defined(__x86_64__)
asm(R"(
    .text
    .balign 16
    .globl RecorderCountedEntries
    .hidden RecorderCountedEntries
RecorderCountedEntries:
    .set entry, 0
    .rept )" TEXT_OF(COUNTED_ENTRIES) R"(
    endbr64
    pushq $entry
    jmp RecorderCountedCall
    .balign )" TEXT_OF(COUNTED_ENTRY_BYTES) R"(
    .set entry, entry + 1
    .endr

    .type RecorderCountedCall, @function
RecorderCountedCall:
    .cfi_startproc
    .cfi_def_cfa_offset 16
    subq $192, %rsp
    .cfi_adjust_cfa_offset 192
    movq %rax, (%rsp)
    movq %rdi, 8(%rsp)
    movq %rsi, 16(%rsp)
    movq %rdx, 24(%rsp)
    movq %rcx, 32(%rsp)
    movq %r8, 40(%rsp)
    movq %r9, 48(%rsp)
    movups %xmm0, 64(%rsp)
    movups %xmm1, 80(%rsp)
    movups %xmm2, 96(%rsp)
    movups %xmm3, 112(%rsp)
    movups %xmm4, 128(%rsp)
    movups %xmm5, 144(%rsp)
    movups %xmm6, 160(%rsp)
    movups %xmm7, 176(%rsp)
    movq 192(%rsp), %rdi
    call RecorderCountCall
    movq %rax, %r11
    movq (%rsp), %rax
    movq 8(%rsp), %rdi
    movq 16(%rsp), %rsi
    movq 24(%rsp), %rdx
    movq 32(%rsp), %rcx
    movq 40(%rsp), %r8
    movq 48(%rsp), %r9
    movups 64(%rsp), %xmm0
    movups 80(%rsp), %xmm1
    movups 96(%rsp), %xmm2
    movups 112(%rsp), %xmm3
    movups 128(%rsp), %xmm4
    movups 144(%rsp), %xmm5
    movups 160(%rsp), %xmm6
    movups 176(%rsp), %xmm7
    addq $200, %rsp
    .cfi_adjust_cfa_offset -200
    jmp *%r11
    .cfi_endproc
    .size RecorderCountedCall, .-RecorderCountedCall
)");
#elif defined(__aarch64__)
asm(R"(
    .text
    .balign 16
    .globl RecorderCountedEntries
    .hidden RecorderCountedEntries
RecorderCountedEntries:
    .set entry, 0
    .rept )" TEXT_OF(COUNTED_ENTRIES) R"(
    hint #34
    mov w16, #entry
    b RecorderCountedCall
    .balign )" TEXT_OF(COUNTED_ENTRY_BYTES) R"(
    .set entry, entry + 1
    .endr

    .type RecorderCountedCall, %function
RecorderCountedCall:
    .cfi_startproc
    stp x29, x30, [sp, #-224]!
    .cfi_def_cfa_offset 224
    .cfi_offset 29, -224
    .cfi_offset 30, -216
    mov x29, sp
    stp x0, x1, [sp, #16]
    stp x2, x3, [sp, #32]
    stp x4, x5, [sp, #48]
    stp x6, x7, [sp, #64]
    str x8, [sp, #80]
    stp q0, q1, [sp, #96]
    stp q2, q3, [sp, #128]
    stp q4, q5, [sp, #160]
    stp q6, q7, [sp, #192]
    mov w0, w16
    bl RecorderCountCall
    mov x16, x0
    ldp x0, x1, [sp, #16]
    ldp x2, x3, [sp, #32]
    ldp x4, x5, [sp, #48]
    ldp x6, x7, [sp, #64]
    ldr x8, [sp, #80]
    ldp q0, q1, [sp, #96]
    ldp q2, q3, [sp, #128]
    ldp q4, q5, [sp, #160]
    ldp q6, q7, [sp, #192]
    ldp x29, x30, [sp], #224
    .cfi_restore 29
    .cfi_restore 30
    .cfi_def_cfa_offset 0
    br x16
    .cfi_endproc
    .size RecorderCountedCall, .-RecorderCountedCall
)");
#else
#error "entries that count calls have to be written for this machine"
#endif
