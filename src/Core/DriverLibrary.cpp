#include "Core/DriverLibrary.h"

#include <dlfcn.h>

namespace Core {

void DriverLibrary::Open(const std::string& directory, const std::string& name, const std::string& version)
{
    Close();
    for (const std::string& file : {name + ".so" + version, name + ".so"}) {
        const std::string path = directory.empty() ? file : directory + "/" + file;
        // The code stays after Close: drivers leave pointers to it in native windows and in thread-specific storage.
        m_handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
        if (m_handle) {
            m_error.clear();
            return;
        }
        const char* reason = dlerror();
        m_error += (m_error.empty() ? "cannot open " : "; nor ") + path + " (" + (reason ? reason : "no reason") + ")";
    }
}

void DriverLibrary::Close()
{
    if (m_handle)
        dlclose(m_handle);
    m_handle = nullptr;
    m_error.clear();
}

Proc DriverLibrary::Find(const char* name) const
{
    return m_handle ? reinterpret_cast<Proc>(dlsym(m_handle, name)) : nullptr;
}

} // namespace Core
