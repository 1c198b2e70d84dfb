// The files of code in this process.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>

#include <link.h>

#include "Data/Capture/Format.h"

namespace Recorder {

class Capturing;
class StackTable;

/// What the dynamic linker has loaded at a moment. Asking takes the linker's lock, under which nothing is allocated.
class ModuleSnapshot {
public:
    struct Module {
        std::uint64_t begin;
        std::uint64_t end;
        std::uint64_t bias;
        std::uint32_t buildIdBytes;
        std::array<std::uint8_t, Data::MaxBuildIdBytes> buildId;
        /// With its terminator.
        std::array<char, 1024> path;
    };

    ModuleSnapshot();
    ~ModuleSnapshot();
    ModuleSnapshot(const ModuleSnapshot&) = delete;
    ModuleSnapshot& operator=(const ModuleSnapshot&) = delete;

    [[nodiscard]] std::span<const Module> Modules() const { return {m_modules, m_count}; }
    /// Modules that were loaded and unloaded until then.
    [[nodiscard]] std::uint64_t Changes() const { return m_changes; }

private:
    static int Add(dl_phdr_info* info, std::size_t bytes, void* snapshot);

    Module* m_modules = nullptr;
    std::size_t m_count = 0;
    std::uint64_t m_changes = 0;
};

/// The modules that are in the capture. All but HaveChanged and what is said otherwise is for who holds the lock.
class LoadedModules {
public:
    /// Modules were loaded or unloaded since the last snapshot that was taken. Any thread.
    [[nodiscard]] bool HaveChanged() const;
    /// Appends those that are not in the capture yet. When for the first time one of them lies where another one did,
    /// `stacks` are cleared.
    void Take(const ModuleSnapshot& snapshot, const Capturing& capturing, StackTable& stacks);

    /// The number of the module that has an address, 0 for none.
    [[nodiscard]] std::uint32_t Find(std::uint64_t address) const;
    /// The address is in this library. Any thread.
    [[nodiscard]] bool IsOwn(std::uint64_t address) const { return address >= m_ownBegin && address < m_ownEnd; }
    /// Some module lies where another one did before. Any thread.
    [[nodiscard]] bool WerePlacesReused() const { return m_wereReused; }

private:
    struct Known {
        std::uint64_t begin;
        std::uint64_t end;
        /// Of all that is known of it.
        std::uint64_t hash;
        std::uint32_t number;
    };

    /// Its number, which it is given if it is new; 0 when there are too many.
    [[nodiscard]] std::uint32_t NumberOf(const ModuleSnapshot::Module& module, std::uint64_t hash,
                                         const Capturing& capturing);
    /// True when it lies where another one did.
    [[nodiscard]] bool Add(const ModuleSnapshot::Module& module, const Capturing& capturing);
    void FindOwn();

    /// In the order of their addresses, which do not overlap. Also those that were unloaded, until others take their
    /// place.
    std::array<Known, Data::MaxModules> m_known = {};
    std::size_t m_knownCount = 0;
    /// Of all that are in the capture, by their numbers from 1.
    std::array<std::uint64_t, Data::MaxModules> m_hashes = {};
    std::uint32_t m_numbers = 0;
    std::atomic<std::uint64_t> m_changes = 0;
    std::atomic<std::uint64_t> m_ownBegin = 0;
    std::atomic<std::uint64_t> m_ownEnd = 0;
    std::atomic<bool> m_wereReused = false;
};

} // namespace Recorder
