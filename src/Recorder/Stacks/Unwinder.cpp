// libunwind takes 5 ns a frame by what it remembers of each place in the code, and the compiler's own unwinder 700 ns,
// since it remembers nothing. So the latter is the one to ask where libunwind is missing, and where code was unloaded
// and other code lies in its place, which libunwind does not notice.
//
// libunwind is not linked: it defines functions of the compiler's unwinder too, which then would take the place of the
// program's own.

#include "Recorder/Stacks/Unwinder.h"

#include <cerrno>
#include <dlfcn.h>
#include <unwind.h>

#define UNW_LOCAL_ONLY
#include <libunwind.h>

#include "Recorder/Settings.h"

// Their names have that of the machine in them.
#define NAME_OF(function) AS_TEXT(function)
#define AS_TEXT(name) #name

namespace Recorder {
namespace {

using Backtrace = int (*)(void**, int);
Backtrace backtrace = nullptr;

struct Walk {
    std::span<std::uint64_t> addresses;
    std::size_t count;
};

_Unwind_Reason_Code TakeFrame(_Unwind_Context* context, void* parameter)
{
    Walk& walk = *static_cast<Walk*>(parameter);
    const std::uint64_t address = _Unwind_GetIP(context);
    if (address == 0 || walk.count == walk.addresses.size())
        return _URC_END_OF_STACK;
    walk.addresses[walk.count++] = address;
    return _URC_NO_REASON;
}

} // namespace

void OpenUnwinder() noexcept
{
    void* const library = dlopen(UnwindLibrary, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        return;
    using SetPolicy = int (*)(unw_addr_space_t, unw_caching_policy_t);
    const auto setPolicy = reinterpret_cast<SetPolicy>(dlsym(library, NAME_OF(unw_set_caching_policy)));
    const auto space = static_cast<unw_addr_space_t*>(dlsym(library, NAME_OF(unw_local_addr_space)));
    if (setPolicy == nullptr || space == nullptr)
        return;
    // The cache that this is about has a lock, under which the dynamic linker is asked. Traces have one for each
    // thread.
    setPolicy(*space, UNW_CACHE_NONE);
    backtrace = reinterpret_cast<Backtrace>(dlsym(library, NAME_OF(unw_backtrace)));
}

std::size_t Unwind(std::span<std::uint64_t> addresses, bool wereReused) noexcept
{
    static_assert(sizeof(void*) == sizeof(std::uint64_t));
    if (backtrace != nullptr && !wereReused) {
        // Where it tries memory, it tries again while errno says that it was interrupted.
        errno = 0;
        return static_cast<std::size_t>(
            backtrace(reinterpret_cast<void**>(addresses.data()), static_cast<int>(addresses.size())));
    }
    Walk walk = {addresses, 0};
    _Unwind_Backtrace(&TakeFrame, &walk);
    return walk.count;
}

} // namespace Recorder
