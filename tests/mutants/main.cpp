// Replays captures that were changed and given right checksums, to see that nothing in a file can crash the program.
// See docs/howto/find-hostile-captures.md.
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>

#include "Runner.h"

namespace {

constexpr const char* UsageText =
    "usage: mutate [--driver DIR] [--seed N] [--count N] [--jobs N] [--limit SECONDS] [--keep DIR] CAPTURE...\n"
    "  --driver DIR     the driver's libraries (the system's)\n"
    "  --seed N         first seed (1); the same seed and captures make the same mutant\n"
    "  --count N        mutants (100)\n"
    "  --jobs N         mutants at a time (1)\n"
    "  --limit SECONDS  of one mutant (10)\n"
    "  --keep DIR       where to put mutants that crash or hang, with their logs\n"
    "Exit status: 0 no crash and no hang, 1 some, 2 usage, 3 a capture cannot be read.\n";

int Usage()
{
    std::fputs(UsageText, stderr);
    return 2;
}

} // namespace

extern "C" const char* __asan_default_options()
{
    return "detect_leaks=0:abort_on_error=1:verify_asan_link_order=0:allocator_may_return_null=1";
}
extern "C" const char* __ubsan_default_options()
{
    return "abort_on_error=1:print_stacktrace=1";
}

int main(int argc, char** argv)
{
    Mutate::Orders orders;
    std::vector<Mutate::Recording> captures;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument.starts_with("--")) {
            if (++i == argc)
                return Usage();
            char* end = nullptr;
            const std::uint64_t number = std::strtoull(argv[i], &end, 10);
            const bool isNumber = *argv[i] != 0 && *end == 0;
            if (argument == "--driver")
                orders.driver = argv[i];
            else if (argument == "--keep")
                orders.keep = argv[i];
            else if (argument == "--seed" && isNumber)
                orders.firstSeed = number;
            else if (argument == "--count" && isNumber)
                orders.count = number;
            else if (argument == "--jobs" && isNumber && number > 0)
                orders.jobs = number;
            else if (argument == "--limit" && isNumber)
                orders.limit = std::chrono::seconds(number);
            else
                return Usage();
            continue;
        }
        std::string error;
        if (!captures.emplace_back().Load(argument, error)) {
            std::fprintf(stderr, "mutate: %s: %s\n", argument.c_str(), error.c_str());
            return 3;
        }
    }
    if (captures.empty())
        return Usage();
    // Off screen, and without threads of the rasteriser's for each mutant.
    for (const char* const name : {"WAYLAND_DISPLAY", "DISPLAY"})
        unsetenv(name);
    setenv("EGL_PLATFORM", "surfaceless", 1);
    setenv("LP_NUM_THREADS", "0", 0);
    // Loaded once for all mutants, where it is the usual driver.
    if (orders.driver.empty())
        for (const char* const library : {"libEGL.so.1", "libGLESv2.so.2", "libEGL_mesa.so.0", "dri/swrast_dri.so"})
            dlopen(library, RTLD_NOW | RTLD_GLOBAL);
    return Mutate::Runner(captures, orders).Run() ? 0 : 1;
}
