// Two libraries have this function. Asking for the next one has to lead from one to the other, whoever is preloaded.

#include <dlfcn.h>

extern "C" int NextValue()
{
    const auto next = reinterpret_cast<int (*)()>(dlsym(RTLD_NEXT, "NextValue"));
    return next != nullptr ? 10 * next() + DIGIT : DIGIT;
}
