#include "Interfaces/Core.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "Core/DriverCapabilities.h"
#include "Core/DriverLibrary.h"
#include "Core/FunctionForms.h"

namespace Core {

EGLProcTable KHRLayer::playbackEGLProcTable = {};
EGLExtProcTable KHRLayer::playbackEGLExtProcTable = {};
GLESProcTable KHRLayer::playbackGLESProcTable = {};
GLESExtProcTable KHRLayer::playbackGLESExtProcTable = {};

namespace {

/// The functions of one API, as the driver has them.
struct GLESApi {
    GLESProcTable gles = {};
    GLESExtProcTable glesExt = {};
    /// Of the contexts for which the tables were filled.
    DriverCapabilities capabilities;
};

/// Everything that is loaded, process-wide like the tables themselves.
struct Driver {
    std::string directory;
    DriverLibrary eglLibrary;
    DriverLibrary glesLibrary;
    EGLProcTable egl = {};
    EGLExtProcTable eglExt = {};
    GLESProcTable gles = {};
    GLESExtProcTable glesExt = {};
    /// OpenGL ES 1 and what came after it: the tables above are those of the API in use.
    std::array<GLESApi, 2> apis;
    std::size_t api = 0;
    std::unordered_set<unsigned int> skipped;
    /// Null for none.
    KHRLayer::AdaptGLES adapt = nullptr;
};

Driver& TheDriver()
{
    // Never destroyed: drivers do not survive being unloaded while the process ends.
    static Driver* const driver = new Driver;
    return *driver;
}

/// Sets entry number `index`. Tables hold nothing but function pointers, which the generated header asserts.
template <class Table> void SetEntry(Table& table, std::uint32_t index, Proc function)
{
    std::memcpy(reinterpret_cast<char*>(&table) + index * sizeof function, &function, sizeof function);
}

/// The entry of function `id` is filled, if the function is one of this table.
template <class Table> bool HasEntry(const Table& table, std::uint32_t firstId, unsigned int id)
{
    constexpr std::uint32_t Count = sizeof(Table) / sizeof(Proc);
    Proc function = nullptr;
    if (id >= firstId && id - firstId < Count)
        std::memcpy(&function, reinterpret_cast<const char*>(&table) + (id - firstId) * sizeof function,
                    sizeof function);
    return function != nullptr;
}

/// Nulls the entry of function `id`, if the function is one of this table.
template <class Table> void ClearEntry(Table& table, std::uint32_t firstId, unsigned int id)
{
    constexpr std::uint32_t Count = sizeof(Table) / sizeof(Proc);
    if (id >= firstId && id - firstId < Count)
        SetEntry(table, id - firstId, nullptr);
}

/// Sets every entry to the first form of its function that `find` has.
template <class Table, class Find> void Fill(Table& table, std::uint32_t firstId, Find find)
{
    constexpr std::uint32_t Count = sizeof(Table) / sizeof(Proc);
    for (std::uint32_t index = 0; index < Count; ++index) {
        Proc function = nullptr;
        for (const FunctionForm& form : FormsOf(firstId + index)) {
            function = find(form);
            if (function)
                break;
        }
        SetEntry(table, index, function);
    }
}

/// Renews the playback table from the live one, without the functions that are being skipped.
template <class Table> void CopyForPlayback(Table& playback, const Table& live, std::uint32_t firstId)
{
    playback = live;
    for (const unsigned int id : TheDriver().skipped)
        ClearEntry(playback, firstId, id);
}

/// What follows each filling of the GL tables.
void FinishGLESTables()
{
    Driver& driver = TheDriver();
    if (driver.adapt)
        driver.adapt(driver.gles, driver.glesExt);
    CopyForPlayback(KHRLayer::playbackGLESProcTable, driver.gles, FirstGLESFuncId);
    CopyForPlayback(KHRLayer::playbackGLESExtProcTable, driver.glesExt, FirstGLESExtFuncId);
}

Proc FindEGL(const FunctionForm& form)
{
    const Driver& driver = TheDriver();
    const Proc exported = driver.eglLibrary.Find(form.name);
    return exported || !driver.egl.eglGetProcAddress ? exported : driver.egl.eglGetProcAddress(form.name);
}

/// The function behind a name, whether or not the driver really has it: dispatch libraries answer any name.
Proc FindGLES(const FunctionForm& form)
{
    const Driver& driver = TheDriver();
    const Proc exported = driver.glesLibrary.Find(form.name);
    return exported || form.IsSymbol() || !driver.egl.eglGetProcAddress ? exported
                                                                        : driver.egl.eglGetProcAddress(form.name);
}

Proc FindGLESWithinCapabilities(const FunctionForm& form)
{
    const Driver& driver = TheDriver();
    return form.IsSymbol() || driver.apis[driver.api].capabilities.Has(form.where) ? FindGLES(form) : nullptr;
}

/// Where the API of a version stands.
std::size_t ApiOf(ContextVersion version)
{
    return IsFixedFunction(version) ? 1 : 0;
}

std::string_view GetString(GLenum name)
{
    const auto getString = TheDriver().gles.glGetString;
    const GLubyte* text = getString ? getString(name) : nullptr;
    return text ? reinterpret_cast<const char*>(text) : std::string_view();
}

} // namespace

void KHRLayer::SetDriverDirectory(const std::string& directory)
{
    TheDriver().directory = directory;
}

const std::string& KHRLayer::LoadError()
{
    static std::string error;
    const Driver& driver = TheDriver();
    error = driver.eglLibrary.Error();
    if (!error.empty() && !driver.glesLibrary.Error().empty())
        error += "; ";
    error += driver.glesLibrary.Error();
    return error;
}

void KHRLayer::LoadEGL()
{
    Driver& driver = TheDriver();
    if (driver.eglLibrary.IsOpen())
        return;
    driver.eglLibrary.Open(driver.directory, "libEGL", ".1");
    // Through this one the others are found that the library does not export.
    driver.egl.eglGetProcAddress =
        reinterpret_cast<decltype(driver.egl.eglGetProcAddress)>(driver.eglLibrary.Find("eglGetProcAddress"));
    Fill(driver.egl, FirstEGLFuncId, FindEGL);
    Fill(driver.eglExt, FirstEGLExtFuncId, FindEGL);
    CopyForPlayback(playbackEGLProcTable, driver.egl, FirstEGLFuncId);
    CopyForPlayback(playbackEGLExtProcTable, driver.eglExt, FirstEGLExtFuncId);
}

void KHRLayer::FreeEGL()
{
    Driver& driver = TheDriver();
    driver.egl = {};
    driver.eglExt = {};
    playbackEGLProcTable = {};
    playbackEGLExtProcTable = {};
    driver.eglLibrary.Close();
}

void KHRLayer::LoadGLESCore()
{
    Driver& driver = TheDriver();
    if (driver.glesLibrary.IsOpen())
        return;
    driver.glesLibrary.Open(driver.directory, "libGLESv2", ".2");
    if (!driver.glesLibrary.IsOpen())
        return;
    Fill(driver.gles, FirstGLESFuncId, FindGLES);
    FinishGLESTables();
}

void KHRLayer::LoadGLESExt()
{
    LoadGLESCore();
    Driver& driver = TheDriver();
    const std::string_view version = GetString(GL_VERSION);
    if (version.empty())
        return;
    const ContextVersion parsed = ParseContextVersion(version);
    const bool isOtherApi = ApiOf(parsed) != driver.api;
    driver.api = ApiOf(parsed);
    GLESApi& api = driver.apis[driver.api];
    // Coming back to an API is cheap: programs may go to and fro.
    if (!isOtherApi || parsed > api.capabilities.Version()) {
        api.capabilities.Add(parsed, GetString(GL_EXTENSIONS));
        Fill(api.gles, FirstGLESFuncId, FindGLESWithinCapabilities);
        Fill(api.glesExt, FirstGLESExtFuncId, FindGLESWithinCapabilities);
    }
    driver.gles = api.gles;
    driver.glesExt = api.glesExt;
    FinishGLESTables();
}

void KHRLayer::AdaptGLESTables(AdaptGLES adapt)
{
    TheDriver().adapt = adapt;
    FinishGLESTables();
}

bool KHRLayer::IsGLESExtLoaded()
{
    const Driver& driver = TheDriver();
    const ContextVersion loaded = driver.apis[driver.api].capabilities.Version();
    const ContextVersion version = ParseContextVersion(GetString(GL_VERSION));
    return loaded > 0 && version <= loaded && ApiOf(version) == driver.api;
}

void KHRLayer::FreeGLES()
{
    Driver& driver = TheDriver();
    driver.gles = {};
    driver.glesExt = {};
    playbackGLESProcTable = {};
    playbackGLESExtProcTable = {};
    driver.apis = {};
    driver.api = 0;
    driver.glesLibrary.Close();
}

const EGLProcTable& KHRLayer::EGLProc()
{
    return TheDriver().egl;
}

const EGLExtProcTable& KHRLayer::EGLExtProc()
{
    return TheDriver().eglExt;
}

const GLESProcTable& KHRLayer::GLESProc()
{
    return TheDriver().gles;
}

const GLESExtProcTable& KHRLayer::GLESExtProc()
{
    return TheDriver().glesExt;
}

EGLProcTable& KHRLayer::LiveEGL()
{
    return TheDriver().egl;
}

unsigned int KHRLayer::GetEglGlFuncId(const std::string& name)
{
    return static_cast<unsigned int>(FindFunction(name));
}

bool KHRLayer::HasFunction(unsigned int id)
{
    const Driver& driver = TheDriver();
    const auto isOf = [id](const auto& api) {
        return HasEntry(api.gles, FirstGLESFuncId, id) || HasEntry(api.glesExt, FirstGLESExtFuncId, id);
    };
    return HasEntry(driver.egl, FirstEGLFuncId, id) || HasEntry(driver.eglExt, FirstEGLExtFuncId, id) || isOf(driver) ||
           std::ranges::any_of(driver.apis, isOf);
}

void KHRLayer::SetSkipApis(const std::unordered_set<unsigned int>& ids)
{
    TheDriver().skipped = ids;
}

void KHRLayer::ClearEGLApi(unsigned int id)
{
    ClearEntry(playbackEGLProcTable, FirstEGLFuncId, id);
}

void KHRLayer::ClearEGLExtApi(unsigned int id)
{
    ClearEntry(playbackEGLExtProcTable, FirstEGLExtFuncId, id);
}

void KHRLayer::ClearGLESApi(unsigned int id)
{
    ClearEntry(playbackGLESProcTable, FirstGLESFuncId, id);
}

void KHRLayer::ClearGLESExpApi(unsigned int id)
{
    ClearEntry(playbackGLESExtProcTable, FirstGLESExtFuncId, id);
}

} // namespace Core
