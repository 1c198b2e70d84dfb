// What the fake driver answers by itself.

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl32.h>
#include <algorithm>
#include <cstring>
#include <map>
#include <numeric>
#include <set>
#include <utility>

#include "FakeDriver/Driver.h"

namespace Fake {
namespace {

using Rule = Word (*)(Objects&, const Word* args);

constexpr EGLint SizeAttributes[] = {EGL_RED_SIZE,   EGL_GREEN_SIZE,   EGL_BLUE_SIZE, EGL_ALPHA_SIZE,
                                     EGL_DEPTH_SIZE, EGL_STENCIL_SIZE, EGL_SAMPLES};
/// Handles of the configs are 21 and on. The first one is not what a request for 8 bits wants, as with real drivers.
constexpr EGLint Configs[][std::size(SizeAttributes)] = {{10, 10, 10, 2, 24, 8, 0}, {8, 8, 8, 8, 24, 8, 0},
                                                         {8, 8, 8, 0, 24, 8, 0},    {5, 6, 5, 0, 24, 8, 0},
                                                         {8, 8, 8, 8, 24, 8, 4},    {8, 8, 8, 8, 0, 0, 0}};
constexpr Word FirstConfig = 21;

/// One of the sizes of a config; null for other attributes.
const EGLint* SizeOf(std::size_t config, EGLint attribute)
{
    const auto at = std::ranges::find(SizeAttributes, attribute) - std::begin(SizeAttributes);
    return at < std::ssize(SizeAttributes) ? &Configs[config][at] : nullptr;
}

template <class T> T* Pointer(Word word)
{
    return reinterpret_cast<T*>(word);
}

template <class T> void Put(Word pointer, T value)
{
    if (pointer)
        *Pointer<T>(pointer) = value;
}

Word Text(const char* text)
{
    return reinterpret_cast<Word>(text);
}

EGLint ConfigAttribute(Word handle, EGLint attribute)
{
    static const std::map<EGLint, EGLint> common = {
        {EGL_SURFACE_TYPE, EGL_WINDOW_BIT | EGL_PBUFFER_BIT | EGL_PIXMAP_BIT},
        {EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT | EGL_OPENGL_ES3_BIT},
        {EGL_CONFORMANT, EGL_OPENGL_ES2_BIT | EGL_OPENGL_ES3_BIT},
        {EGL_COLOR_BUFFER_TYPE, EGL_RGB_BUFFER},
        {EGL_CONFIG_CAVEAT, EGL_NONE},
        {EGL_TRANSPARENT_TYPE, EGL_NONE},
        {EGL_MAX_PBUFFER_WIDTH, 4096},
        {EGL_MAX_PBUFFER_HEIGHT, 4096}};
    const std::size_t index = handle - FirstConfig;
    if (index >= std::size(Configs))
        return 0;
    if (const EGLint* size = SizeOf(index, attribute))
        return *size;
    const auto found = common.find(attribute);
    return attribute == EGL_CONFIG_ID        ? static_cast<EGLint>(handle)
           : attribute == EGL_BUFFER_SIZE    ? std::accumulate(Configs[index], Configs[index] + 4, 0)
           : attribute == EGL_SAMPLE_BUFFERS ? *SizeOf(index, EGL_SAMPLES) > 0
           : found != common.end()           ? found->second
                                             : 0;
}

/// Configs whose sizes are at least those asked for, in the order of the table.
std::vector<Word> MatchingConfigs(const EGLint* attribs)
{
    std::vector<Word> found;
    for (std::size_t i = 0; i < std::size(Configs); ++i) {
        bool matches = true;
        for (const EGLint* at = attribs; at && at[0] != EGL_NONE; at += 2) {
            const EGLint* size = SizeOf(i, at[0]);
            matches = matches && (!size || at[1] == EGL_DONT_CARE || *size >= at[1]);
        }
        if (matches)
            found.push_back(FirstConfig + i);
    }
    return found;
}

Word PutConfigs(const std::vector<Word>& found, Word out, Word room, Word countOut)
{
    std::size_t count = found.size();
    if (out) {
        count = std::min<std::size_t>(count, FromWord<EGLint>(room));
        std::copy_n(found.begin(), count, Pointer<Word>(out));
    }
    Put(countOut, static_cast<EGLint>(count));
    return EGL_TRUE;
}

template <class Attribute> Word CreateSurface(Objects& objects, Word attribs)
{
    const Word handle = objects.NewHandle();
    auto& [width, height] = objects.surfaceSizes[handle];
    for (const auto* at = Pointer<Attribute>(attribs); at && at[0] != EGL_NONE; at += 2) {
        width = at[0] == EGL_WIDTH ? static_cast<int>(at[1]) : width;
        height = at[0] == EGL_HEIGHT ? static_cast<int>(at[1]) : height;
    }
    return handle;
}

Word QueryString(Objects& objects, const Word* args)
{
    switch (FromWord<EGLint>(args[1])) {
    case EGL_VENDOR:
        return Text("Fake");
    case EGL_VERSION:
        return Text("1.5 Fake");
    case EGL_CLIENT_APIS:
        return Text("OpenGL_ES");
    case EGL_EXTENSIONS:
        return args[0] ? Text(objects.settings["EGL_EXTENSIONS"].c_str())
                       : Text("EGL_EXT_client_extensions EGL_EXT_platform_base EGL_EXT_platform_wayland "
                              "EGL_KHR_platform_wayland EGL_MESA_platform_surfaceless");
    default:
        return 0;
    }
}

Word GetString(Objects& objects, const Word* args)
{
    switch (FromWord<GLenum>(args[0])) {
    case GL_VENDOR:
        return Text("Fake");
    case GL_RENDERER:
        return Text("Fake renderer");
    case GL_VERSION:
        return Text(objects.settings["VERSION"].c_str());
    case GL_SHADING_LANGUAGE_VERSION:
        return Text("OpenGL ES GLSL ES 3.20");
    case GL_EXTENSIONS:
        return Text(objects.settings["EXTENSIONS"].c_str());
    default:
        return 0;
    }
}

GLint Integer(const Objects& objects, GLenum name)
{
    static const std::map<GLenum, GLint> constants = {
        {GL_MAX_VERTEX_ATTRIBS, 16},      {GL_MAX_TEXTURE_IMAGE_UNITS, 16}, {GL_MAX_COMBINED_TEXTURE_IMAGE_UNITS, 16},
        {GL_MAX_DRAW_BUFFERS, 8},         {GL_MAX_COLOR_ATTACHMENTS, 8},    {GL_MAX_TEXTURE_SIZE, 8192},
        {GL_MAX_RENDERBUFFER_SIZE, 8192}, {GL_PACK_ALIGNMENT, 4},           {GL_UNPACK_ALIGNMENT, 4}};
    const std::string& version = objects.settings.at("VERSION");
    const std::size_t number = version.find_first_of("0123456789");
    const auto found = constants.find(name);
    return name == GL_NUM_EXTENSIONS  ? static_cast<GLint>(Split(objects.settings.at("EXTENSIONS"), ' ').size())
           : name == GL_MAJOR_VERSION ? version[number] - '0'
           : name == GL_MINOR_VERSION ? version[number + 2] - '0'
           : found != constants.end() ? found->second
                                      : 0;
}

/// The name of an extension; it stays where it is.
Word IndexedExtension(Objects& objects, const Word* args)
{
    static std::set<std::string> kept;
    const auto extensions = Split(objects.settings["EXTENSIONS"], ' ');
    const bool known = args[0] == GL_EXTENSIONS && args[1] < extensions.size();
    return known ? Text(kept.insert(extensions[args[1]]).first->c_str()) : 0;
}

Word MapBuffer(Objects& objects, Word target, std::int64_t bytes)
{
    if (bytes <= 0 || bytes > 1 << 30)
        return 0;
    // Memory of exactly this size, so that a sanitizer sees its end.
    auto& memory = objects.mapped[target] = std::vector<std::uint8_t>(static_cast<std::size_t>(bytes));
    return reinterpret_cast<Word>(memory.data());
}

/// Four bytes a pixel; 0x5A throughout, which is no value that fresh memory has.
Word ReadPixels(Objects& objects, Word width, Word height, Word pixels)
{
    const auto columns = FromWord<GLsizei>(width);
    const auto rows = FromWord<GLsizei>(height);
    // As any driver, it refuses sizes below zero.
    if (objects.pixelPackBuffer == 0 && pixels && columns > 0 && rows > 0)
        std::memset(Pointer<void>(pixels), 0x5A, std::size_t{4} * static_cast<std::size_t>(columns) * rows);
    return 0;
}

/// True for what says that something went well, zero for everything else.
template <Word... Names> Word Status(Objects&, const Word* args)
{
    Put<GLint>(args[2], ((args[1] == Names) || ...) ? GL_TRUE : 0);
    return 0;
}

Word FindFunction(const char* name)
{
    for (const Entry& entry : Entries())
        if (std::strcmp(entry.function->name, name) == 0)
            return reinterpret_cast<Word>(IsMissing(*entry.function) ? nullptr : entry.address);
    return 0;
}

const std::unordered_map<std::string, Rule> rules = {
    // EGL
    {"eglGetError",
     [](Objects& objects, const Word*) -> Word { return ToWord(std::exchange(objects.eglError, EGL_SUCCESS)); }},
    {"eglGetDisplay", [](Objects&, const Word*) -> Word { return 11; }},
    {"eglGetPlatformDisplay", [](Objects&, const Word*) -> Word { return 11; }},
    {"eglInitialize",
     [](Objects&, const Word* args) -> Word {
         Put<EGLint>(args[1], 1);
         Put<EGLint>(args[2], 5);
         return EGL_TRUE;
     }},
    {"eglQueryString", QueryString},
    {"eglGetConfigs",
     [](Objects&, const Word* args) { return PutConfigs(MatchingConfigs(nullptr), args[1], args[2], args[3]); }},
    {"eglChooseConfig",
     [](Objects&, const Word* args) {
         return PutConfigs(MatchingConfigs(Pointer<EGLint>(args[1])), args[2], args[3], args[4]);
     }},
    {"eglGetConfigAttrib",
     [](Objects&, const Word* args) -> Word {
         Put(args[3], ConfigAttribute(args[1], FromWord<EGLint>(args[2])));
         return EGL_TRUE;
     }},
    {"eglCreatePbufferSurface",
     [](Objects& objects, const Word* args) { return CreateSurface<EGLint>(objects, args[2]); }},
    {"eglQuerySurface",
     [](Objects& objects, const Word* args) -> Word {
         const auto [width, height] = objects.surfaceSizes[args[1]];
         const auto attribute = FromWord<EGLint>(args[2]);
         Put<EGLint>(args[3], attribute == EGL_WIDTH ? width : attribute == EGL_HEIGHT ? height : 0);
         return EGL_TRUE;
     }},
    {"eglMakeCurrent",
     [](Objects& objects, const Word* args) -> Word {
         std::copy_n(args, 4, objects.current);
         return EGL_TRUE;
     }},
    {"eglGetCurrentDisplay", [](Objects& objects, const Word*) { return objects.current[0]; }},
    {"eglGetCurrentSurface",
     [](Objects& objects, const Word* args) { return objects.current[args[0] == EGL_READ ? 2 : 1]; }},
    {"eglGetCurrentContext", [](Objects& objects, const Word*) { return objects.current[3]; }},
    {"eglQueryAPI", [](Objects&, const Word*) -> Word { return EGL_OPENGL_ES_API; }},
    {"eglClientWaitSyncKHR", [](Objects&, const Word*) -> Word { return EGL_CONDITION_SATISFIED; }},
    {"eglClientWaitSync", [](Objects&, const Word*) -> Word { return EGL_CONDITION_SATISFIED; }},
    // OpenGL ES
    {"glGetError", [](Objects& objects, const Word*) -> Word { return std::exchange(objects.error, 0u); }},
    {"glGetString", GetString},
    {"glGetStringi", IndexedExtension},
    {"glGetIntegerv",
     [](Objects& objects, const Word* args) -> Word {
         Put(args[1], Integer(objects, FromWord<GLenum>(args[0])));
         return 0;
     }},
    {"glBindBuffer",
     [](Objects& objects, const Word* args) -> Word {
         if (args[0] == GL_PIXEL_PACK_BUFFER)
             objects.pixelPackBuffer = args[1];
         return 0;
     }},
    {"glBufferData",
     [](Objects& objects, const Word* args) -> Word {
         objects.bufferBytes[args[0]] = static_cast<std::int64_t>(args[1]);
         objects.mapped.erase(args[0]);
         return 0;
     }},
    {"glBufferStorageEXT",
     [](Objects& objects, const Word* args) -> Word {
         objects.bufferBytes[args[0]] = static_cast<std::int64_t>(args[1]);
         return 0;
     }},
    {"glGetBufferParameteriv",
     [](Objects& objects, const Word* args) -> Word {
         const std::int64_t bytes = args[1] == GL_BUFFER_SIZE         ? objects.bufferBytes[args[0]]
                                    : args[1] == GL_BUFFER_MAP_LENGTH ? std::ssize(objects.mapped[args[0]])
                                                                      : 0;
         Put(args[2], static_cast<GLint>(bytes));
         return 0;
     }},
    {"glGetBufferPointerv",
     [](Objects& objects, const Word* args) -> Word {
         Put<void*>(args[2], objects.mapped[args[0]].data());
         return 0;
     }},
    {"glUnmapBuffer", [](Objects& objects, const Word* args) -> Word { return objects.mapped.erase(args[0]); }},
    {"glMapBufferRange",
     [](Objects& objects, const Word* args) {
         return MapBuffer(objects, args[0], static_cast<std::int64_t>(args[2]));
     }},
    {"glMapBufferOES",
     [](Objects& objects, const Word* args) { return MapBuffer(objects, args[0], objects.bufferBytes[args[0]]); }},
    {"glReadPixels", [](Objects& objects, const Word* args) { return ReadPixels(objects, args[2], args[3], args[6]); }},
    {"glCheckFramebufferStatus", [](Objects&, const Word*) -> Word { return GL_FRAMEBUFFER_COMPLETE; }},
    {"glClientWaitSync", [](Objects&, const Word*) -> Word { return GL_ALREADY_SIGNALED; }},
    {"glGetShaderiv", Status<GL_COMPILE_STATUS>},
    {"glGetProgramiv", Status<GL_LINK_STATUS, GL_VALIDATE_STATUS>},
    {"glGetQueryObjectuiv", Status<GL_QUERY_RESULT_AVAILABLE>},
};

/// Writes rising names behind a pointer of a glGen call.
void PutNames(Objects& objects, const Parameter& parameter, const Word* args, Word pointer)
{
    const std::int64_t count = parameter.count(args);
    for (std::int64_t i = 0; i < count; ++i)
        Pointer<GLuint>(pointer)[i] = static_cast<GLuint>(objects.NewName());
}

/// The least that any output needs: names where names are made, else one element of zero. More might not fit.
void PutOutputs(Objects& objects, const Function& function, const Word* args)
{
    const bool creates = std::strncmp(function.name, "glGen", 5) == 0;
    for (std::size_t i = 0; i < function.parameters.size(); ++i) {
        const Parameter& parameter = function.parameters[i];
        if (!parameter.out || !args[i] || parameter.offset)
            continue;
        if (creates && parameter.names)
            PutNames(objects, parameter, args, args[i]);
        else if (!parameter.count || parameter.count(args) > 0)
            std::memset(Pointer<void>(args[i]), 0, std::max<std::size_t>(parameter.elementBytes, 1));
    }
}

/// Every name of a program has a location of its own. The attributes of a program count from 3, since a driver allows
/// 16 of them; all else counts from 31.
Word Location(Objects& objects, const Function& function, const Word* args)
{
    const char* name = Pointer<const char>(args[function.parameters.size() - 1]);
    const auto program = std::pair{function.answer, std::pair{args[0], std::string()}};
    auto next = program;
    ++next.second.first;
    auto& locations = objects.locations;
    const bool attribute = function.answer == Answer::LocationAttribute;
    const Word count =
        attribute ? std::distance(locations.lower_bound(program), locations.lower_bound(next)) : locations.size();
    return locations.try_emplace({function.answer, {args[0], name}}, (attribute ? 3 : 31 + objects.Shift()) + count)
        .first->second;
}

} // namespace

Word Objects::Play(const Function& function, const Word* args)
{
    if (std::strcmp(function.name, "eglGetProcAddress") == 0)
        return FindFunction(Pointer<const char>(args[0]));
    if (const auto rule = rules.find(function.name); rule != rules.end())
        return rule->second(*this, args);
    PutOutputs(*this, function, args);
    switch (function.answer) {
    case Answer::Zero:
        return 0;
    case Answer::True:
        return 1;
    case Answer::NewName:
        return std::strncmp(function.name, "egl", 3) == 0 ? NewHandle() : NewName();
    default:
        return Location(*this, function, args);
    }
}

} // namespace Fake
