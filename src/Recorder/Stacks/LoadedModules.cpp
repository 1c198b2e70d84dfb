#include "Recorder/Stacks/LoadedModules.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

#include "Data/Capture/Checksum.h"
#include "Recorder/Capture.h"
#include "Recorder/Stacks/StackTable.h"

namespace Recorder {
namespace {

constexpr std::size_t MemoryBytes = Data::MaxModules * sizeof(ModuleSnapshot::Module);

/// Copies the build-id out of a segment of notes in memory.
void CopyBuildId(const dl_phdr_info& info, const ElfW(Phdr) & segment, ModuleSnapshot::Module& module)
{
    const std::size_t alignment = segment.p_align == 8 ? 8 : 4;
    const auto padded = [alignment](std::size_t bytes) { return (bytes + alignment - 1) / alignment * alignment; };
    const auto* at = reinterpret_cast<const std::uint8_t*>(info.dlpi_addr + segment.p_vaddr);
    std::size_t left = segment.p_memsz;
    ElfW(Nhdr) note;
    while (left >= sizeof note) {
        std::memcpy(&note, at, sizeof note);
        const std::size_t contents = padded(sizeof note + note.n_namesz);
        const std::size_t bytes = padded(contents + note.n_descsz);
        if (bytes > left)
            return;
        if (note.n_type == NT_GNU_BUILD_ID && note.n_namesz == sizeof ELF_NOTE_GNU &&
            std::memcmp(at + sizeof note, ELF_NOTE_GNU, sizeof ELF_NOTE_GNU) == 0 &&
            note.n_descsz <= module.buildId.size()) {
            std::memcpy(module.buildId.data(), at + contents, note.n_descsz);
            module.buildIdBytes = note.n_descsz;
        }
        at += bytes;
        left -= bytes;
    }
}

/// One that is too long is cut: the build-id may still tell what it is.
void SetPath(ModuleSnapshot::Module& module, const char* path)
{
    const std::size_t bytes = std::min(std::strlen(path), module.path.size() - 1);
    std::memcpy(module.path.data(), path, bytes);
    module.path[bytes] = '\0';
}

/// Makes a path that the linker was given absolute, and finds the program's own, for which it has none.
void CompletePath(ModuleSnapshot::Module& module)
{
    char whole[PATH_MAX] = {};
    if (module.path[0] == '\0') {
        if (readlink("/proc/self/exe", whole, sizeof whole - 1) < 0)
            return;
    } else if (module.path[0] == '/' || std::strchr(module.path.data(), '/') == nullptr ||
               realpath(module.path.data(), whole) == nullptr) {
        return;
    }
    SetPath(module, whole);
}

int ReadChanges(dl_phdr_info* info, std::size_t, void* changes)
{
    *static_cast<std::uint64_t*>(changes) = info->dlpi_adds + info->dlpi_subs;
    return 1;
}

} // namespace

int ModuleSnapshot::Add(dl_phdr_info* info, std::size_t, void* parameter)
{
    auto& snapshot = *static_cast<ModuleSnapshot*>(parameter);
    snapshot.m_changes = info->dlpi_adds + info->dlpi_subs;
    if (snapshot.m_count == Data::MaxModules)
        return 1;
    Module& module = snapshot.m_modules[snapshot.m_count];
    module.begin = UINT64_MAX;
    module.bias = info->dlpi_addr;
    for (const ElfW(Phdr) & segment : std::span(info->dlpi_phdr, info->dlpi_phnum)) {
        const std::uint64_t at = info->dlpi_addr + segment.p_vaddr;
        if (segment.p_type == PT_LOAD) {
            module.begin = std::min(module.begin, at);
            module.end = std::max(module.end, at + segment.p_memsz);
        } else if (segment.p_type == PT_NOTE) {
            CopyBuildId(*info, segment, module);
        }
    }
    SetPath(module, info->dlpi_name);
    snapshot.m_count += module.begin < module.end ? 1 : 0;
    return 0;
}

ModuleSnapshot::ModuleSnapshot()
{
    void* const memory =
        mmap(nullptr, MemoryBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED)
        return;
    m_modules = static_cast<Module*>(memory);
    dl_iterate_phdr(&Add, this);
    for (Module& module : std::span(m_modules, m_count))
        CompletePath(module);
}

ModuleSnapshot::~ModuleSnapshot()
{
    if (m_modules != nullptr)
        munmap(m_modules, MemoryBytes);
}

bool LoadedModules::HaveChanged() const
{
    std::uint64_t changes = 0;
    dl_iterate_phdr(&ReadChanges, &changes);
    return changes != m_changes;
}

void LoadedModules::Take(const ModuleSnapshot& snapshot, const Capturing& capturing, StackTable& stacks)
{
    // Another thread may have come with a later one.
    if (snapshot.Changes() <= m_changes)
        return;
    bool isReused = false;
    for (const ModuleSnapshot::Module& module : snapshot.Modules())
        isReused = Add(module, capturing) || isReused;
    FindOwn();
    if (isReused && !m_wereReused) {
        m_wereReused = true;
        stacks.Clear();
    }
    // Last: who sees it relies on the rest.
    m_changes = snapshot.Changes();
}

std::uint32_t LoadedModules::NumberOf(const ModuleSnapshot::Module& module, std::uint64_t hash,
                                      const Capturing& capturing)
{
    const std::span<std::uint64_t> hashes = std::span(m_hashes).first(m_numbers);
    const auto found = std::ranges::find(hashes, hash);
    if (found != hashes.end())
        return static_cast<std::uint32_t>(found - hashes.begin()) + 1;
    if (m_numbers == Data::MaxModules)
        return 0;
    m_hashes[m_numbers++] = hash;
    capturing->Module({{}, m_numbers, 0, module.begin, module.end, module.bias, {}, {}},
                      std::span(module.buildId).first(module.buildIdBytes), module.path.data());
    return m_numbers;
}

bool LoadedModules::Add(const ModuleSnapshot::Module& module, const Capturing& capturing)
{
    const std::uint64_t hash = Data::Checksum(&module, sizeof module);
    Known* const end = m_known.data() + m_knownCount;
    Known* const first = std::find_if(
        m_known.data(), end, [&](const Known& known) { return known.end > module.begin; });
    Known* const next = std::find_if(first, end, [&](const Known& known) { return known.begin >= module.end; });
    if (first != next && first->hash == hash)
        return false;
    // The new one takes the place of those that it overlaps.
    const std::uint32_t number = NumberOf(module, hash, capturing);
    Known* const after = number != 0 ? first + 1 : first;
    next < after ? std::move_backward(next, end, end + 1) : std::move(next, end, after);
    m_knownCount = m_knownCount + static_cast<std::size_t>(after - first) - static_cast<std::size_t>(next - first);
    if (number != 0)
        *first = {module.begin, module.end, hash, number};
    return first != next;
}

void LoadedModules::FindOwn()
{
    const std::uint32_t number = m_ownEnd == 0 ? Find(reinterpret_cast<std::uintptr_t>(&ReadChanges)) : 0;
    if (number == 0)
        return;
    const Known& own = *std::ranges::find(m_known, number, &Known::number);
    m_ownBegin = own.begin;
    m_ownEnd = own.end;
}

std::uint32_t LoadedModules::Find(std::uint64_t address) const
{
    const std::span known = std::span(m_known).first(m_knownCount);
    const auto next = std::ranges::upper_bound(known, address, {}, &Known::begin);
    return next != known.begin() && address < std::prev(next)->end ? std::prev(next)->number : 0;
}

} // namespace Recorder
