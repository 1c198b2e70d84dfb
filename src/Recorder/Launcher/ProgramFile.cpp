#include "Recorder/Launcher/ProgramFile.h"

#include <cstdlib>
#include <cstring>
#include <elf.h>
#include <fstream>
#include <link.h>
#include <sstream>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace Recorder {
namespace {

constexpr unsigned OwnClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
#if defined(__x86_64__)
constexpr unsigned OwnMachine = EM_X86_64;
constexpr char OwnMachineName[] = "x86-64";
#elif defined(__aarch64__)
constexpr unsigned OwnMachine = EM_AARCH64;
constexpr char OwnMachineName[] = "AArch64";
#endif

/// The file that execvp would run; empty when there is none.
std::string FindProgram(const std::string& command)
{
    if (command.find('/') != std::string::npos)
        return command;
    const char* const path = std::getenv("PATH");
    std::istringstream folders(path != nullptr ? path : "/bin:/usr/bin");
    for (std::string folder; std::getline(folders, folder, ':');) {
        std::string file = (folder.empty() ? "." : folder) + "/" + command;
        struct stat status = {};
        if (stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode) && access(file.c_str(), X_OK) == 0)
            return file;
    }
    return {};
}

/// The program of a "#!" line; empty for files without one.
std::string Interpreter(const std::string& file)
{
    std::string line;
    std::getline(std::ifstream(file), line);
    if (!line.starts_with("#!"))
        return {};
    std::string program;
    std::istringstream(line.substr(2)) >> program;
    return program;
}

std::string WhyNotPrivileged(const std::string& file)
{
    struct stat status = {};
    if (stat(file.c_str(), &status) != 0)
        return {};
    const char* what = nullptr;
    if ((status.st_mode & S_ISUID) != 0 && status.st_uid != getuid())
        what = "has the set-user-id bit";
    else if ((status.st_mode & S_ISGID) != 0 && status.st_gid != getgid())
        what = "has the set-group-id bit";
    else if (getuid() != 0 && getxattr(file.c_str(), "security.capability", nullptr, 0) > 0)
        what = "has file capabilities";
    return what == nullptr ? ""
                           : file + " " + what + ", and the system loads nothing foreign into such programs. Record a" +
                                 " copy of the file, which has no privileges, or run playback-record as the user to" +
                                 " whom it changes.";
}

/// Of a whole ELF header.
std::string WhyNotDynamic(const std::string& file, std::ifstream& contents, const ElfW(Ehdr) & header)
{
    contents.seekg(static_cast<std::streamoff>(header.e_phoff));
    ElfW(Phdr) segment = {};
    for (unsigned i = 0; i < header.e_phnum; ++i)
        if (contents.read(reinterpret_cast<char*>(&segment), sizeof segment) && segment.p_type == PT_INTERP)
            return {};
    return file + " is linked statically, so that nothing can be loaded into it. Link it dynamically, to the C library"
                  " as well as to EGL and OpenGL ES.";
}

} // namespace

std::string WhyNotLoaded(const std::string& command)
{
    std::string file = FindProgram(command);
    if (const std::string interpreter = Interpreter(file); !interpreter.empty())
        file = interpreter;
    std::ifstream contents(file, std::ios::binary);
    ElfW(Ehdr) header = {};
    if (!contents.read(reinterpret_cast<char*>(&header), sizeof header) ||
        std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0)
        return WhyNotPrivileged(file);
    if (header.e_ident[EI_CLASS] != OwnClass || header.e_machine != OwnMachine) {
        return file + " is a program for another machine or word size: this recorder is for " + OwnMachineName +
               " and " + std::to_string(8 * sizeof(void*)) + " bits.";
    }
    std::string why = WhyNotDynamic(file, contents, header);
    return why.empty() ? WhyNotPrivileged(file) : why;
}

} // namespace Recorder
