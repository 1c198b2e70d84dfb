#include "Recorder/Stacks/CallStacks.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <mutex>
#include <span>
#include <string_view>

#include "Recorder/Capture.h"
#include "Recorder/Settings.h"
#include "Recorder/Stacks/LoadedModules.h"
#include "Recorder/Stacks/StackTable.h"
#include "Recorder/Stacks/Unwinder.h"
#include "Recorder/Symbols/Unrecorded.h"

namespace Recorder {

StacksOf stacksOf = StacksOf::None;

namespace {

/// The library's own functions that a stack begins with.
constexpr std::size_t MaxOwnFrames = 16;

/// Held while modules and stacks are added. Capture::lock may be taken inside of it.
SpinLock adding;
LoadedModules modules;
StackTable table;

void UpdateModules()
{
    if (!modules.HaveChanged())
        return;
    const ModuleSnapshot snapshot;
    const std::lock_guard lock(adding);
    const Capturing capturing;
    if (capturing)
        modules.Take(snapshot, capturing, table);
}

/// The frames with their modules. What is not in any is code that was made at run time: unwinding may have got that
/// far, and does not get any further.
std::span<const Data::StackFrame> Locate(std::span<const std::uint64_t> addresses,
                                         std::array<Data::StackFrame, Data::MaxStackFrames>& frames)
{
    std::size_t count = 0;
    for (const std::uint64_t address : addresses) {
        frames[count] = {address, modules.Find(address - 1), 0};
        if (frames[count++].module == 0)
            break;
    }
    return std::span(frames).first(count);
}

/// What tells one stack from another: the addresses, and the modules as well where an address may be in several.
std::span<const std::uint64_t> KeyOf(std::span<const std::uint64_t> addresses,
                                     std::span<const Data::StackFrame> located)
{
    static_assert(sizeof(Data::StackFrame) == 2 * sizeof(std::uint64_t));
    if (modules.WerePlacesReused())
        return {reinterpret_cast<const std::uint64_t*>(located.data()), 2 * located.size()};
    return addresses.first(located.size());
}

std::uint32_t Add(std::span<const std::uint64_t> addresses)
{
    std::array<Data::StackFrame, Data::MaxStackFrames> frames;
    const std::lock_guard lock(adding);
    const std::span<const Data::StackFrame> located = Locate(addresses, frames);
    const std::span<const std::uint64_t> key = KeyOf(addresses, located);
    if (const std::uint32_t known = table.Find(key))
        return known;
    // Whoever finds the new number commits what has it after this.
    const Capturing capturing;
    const std::uint32_t added = capturing ? table.Add(key) : 0;
    if (added != 0)
        capturing->Stack(added, located);
    else if (capturing)
        CountUnrecorded("stacks of calls, beyond those that can be told apart");
    return added;
}

/// Ahead of the program's own code, when no other thread can be in the dynamic linker.
__attribute__((constructor)) void ReadWhichStacks()
{
    const char* const wanted = std::getenv(StacksVariable);
    if (wanted == nullptr)
        return;
    OpenUnwinder();
    if (table.Open())
        stacksOf = std::string_view(wanted) == StacksOfDraws ? StacksOf::Draws : StacksOf::All;
}

} // namespace

std::uint32_t TakeStack() noexcept
{
    if (OwnStream() == nullptr)
        return 0;
    const int savedErrno = errno;
    UpdateModules();
    std::array<std::uint64_t, MaxOwnFrames + Data::MaxStackFrames> addresses;
    const bool wereReused = modules.WerePlacesReused();
    std::span<const std::uint64_t> stack = std::span(addresses).first(Unwind(addresses, wereReused));
    const auto programs =
        std::ranges::find_if(stack, [](std::uint64_t address) { return !modules.IsOwn(address); }) - stack.begin();
    stack = stack.subspan(static_cast<std::size_t>(programs));
    stack = stack.first(std::min<std::size_t>(stack.size(), Data::MaxStackFrames));
    std::uint32_t number = wereReused || stack.empty() ? 0 : table.Find(stack);
    if (number == 0 && !stack.empty())
        number = Add(stack);
    errno = savedErrno;
    return number;
}

} // namespace Recorder
