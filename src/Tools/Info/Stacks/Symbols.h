// Which functions and lines lie at the addresses of a capture, as far as files of this machine tell.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "Data/Records/CallStacks.h"

namespace Tools {

struct CodePlace {
    std::string function;
    /// Empty when there is no information about lines.
    std::string file;
    int line = 0;
    /// Bytes from the function's start; for when there is no line.
    std::uint64_t offset = 0;
    /// The compiler put it into the function that comes next.
    bool isInlined = false;
};

/// Looks for the files of modules: in folders that were given, where they were when the capture was recorded, and where
/// systems keep debug information. A file with another build-id than the recorded one tells nothing.
class Symbols {
public:
    /// `folders` are separated by colons: each has files as DIR/.build-id/ab/cdef.debug, by the path that they had, or
    /// by name alone. `note` hears of files that are another build.
    Symbols(const std::string& folders, std::function<void(const std::string&)> note);
    ~Symbols();
    Symbols(const Symbols&) = delete;
    Symbols& operator=(const Symbols&) = delete;

    /// What lies at an address of the file itself, the innermost of inlined functions first. Empty when that is not
    /// known. `number` is the module's.
    [[nodiscard]] std::vector<CodePlace> Find(std::uint32_t number, const Data::CodeModule& module,
                                              std::uint64_t address);

private:
    class OpenModule;

    [[nodiscard]] std::unique_ptr<OpenModule> Open(const Data::CodeModule& module) const;

    std::vector<std::string> m_folders;
    /// As libdwfl has it.
    std::string m_debugPath;
    std::function<void(const std::string&)> m_note;
    std::unordered_map<std::uint32_t, std::unique_ptr<OpenModule>> m_modules;
};

} // namespace Tools
