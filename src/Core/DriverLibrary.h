// A library of the driver, opened at run time.
#pragma once

#include <string>

namespace Core {

/// Any function of a driver; cast to its prototype before it is called.
using Proc = void (*)();

/// A library that is loaded while this object has it open.
class DriverLibrary {
public:
    DriverLibrary() = default;
    ~DriverLibrary() { Close(); }
    DriverLibrary(const DriverLibrary&) = delete;
    DriverLibrary& operator=(const DriverLibrary&) = delete;

    /// Opens `name` plus ".so" and `version`, or, where that is not found, plus ".so" alone; in `directory`, or
    /// wherever the system finds libraries when it is empty. On failure Error() tells what was tried, and the library
    /// stays empty.
    void Open(const std::string& directory, const std::string& name, const std::string& version);
    void Close();

    [[nodiscard]] bool IsOpen() const { return m_handle != nullptr; }
    /// Empty after success and after Close.
    [[nodiscard]] const std::string& Error() const { return m_error; }
    /// The exported function, null when there is none.
    [[nodiscard]] Proc Find(const char* name) const;

private:
    void* m_handle = nullptr;
    std::string m_error;
};

} // namespace Core
