// The step by which programs enter a sandbox (seccomp(2)): a process without privileges has to give up gaining any
// first. Afterwards it may not be able to reach the process that writes, or may be ended for trying.

#include <cstdarg>
#include <dlfcn.h>
#include <sys/prctl.h>
#include <unistd.h>

#include "Recorder/Capture.h"
#include "Recorder/Symbols/Export.h"
#include "Recorder/Symbols/LiveFunctions.h"

namespace Recorder {
namespace {

/// Between fork and exec a child may do next to nothing, and after vfork it has its parent's memory.
const pid_t loadedIn = getpid();

/// Other programs that enter one, such as those that build containers, draw nothing.
bool MayDraw()
{
    if (getpid() != loadedIn)
        return false;
    void* const library = dlopen("libEGL.so.1", RTLD_LAZY | RTLD_NOLOAD);
    if (library != nullptr)
        dlclose(library);
    return library != nullptr;
}

} // namespace
} // namespace Recorder

RECORDER_EXPORT int prctl(int option, ...)
{
    using namespace Recorder;
    static auto* const next = reinterpret_cast<decltype(::prctl)*>(RealDlsym()(RTLD_NEXT, "prctl"));
    unsigned long values[4];
    va_list arguments;
    va_start(arguments, option);
    for (unsigned long& value : values)
        value = va_arg(arguments, unsigned long);
    va_end(arguments);
    if ((option == PR_SET_NO_NEW_PRIVS || option == PR_SET_SECCOMP) && MayDraw())
        BeforeSandbox();
    return next(option, values[0], values[1], values[2], values[3]);
}
