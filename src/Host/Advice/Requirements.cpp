#include "Host/Advice/Requirements.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include <EGL/egl.h>
#include <GLES3/gl32.h>

#include "Data/Records/CallArguments.h"
#include "Data/Records/RecordWalk.h"
#include "Host/Needs.h"

namespace Host {

namespace {

using Data::CallArguments;

/// The parameter of that name; 0 when the call has none.
std::uint32_t Value(const CallArguments& arguments, std::string_view name)
{
    return static_cast<std::uint32_t>(arguments.Find(name).value_or(0));
}

/// The version that a context was asked for.
int ContextVersion(const CallArguments& arguments)
{
    int major = 1;
    int minor = 0;
    // The attributes are the last parameter.
    Data::ForEachAttrib(arguments.Contents(arguments.Count() - 1), [&](EGLint name, EGLint value) {
        // The same value as EGL_CONTEXT_CLIENT_VERSION.
        if (name == EGL_CONTEXT_MAJOR_VERSION)
            major = value;
        else if (name == EGL_CONTEXT_MINOR_VERSION)
            minor = value;
    });
    return std::clamp(major, 1, 9) * 10 + std::clamp(minor, 0, 9);
}

/// Contexts of OpenGL ES 1.1 have these formats, and others may not list them.
bool IsPaletted(std::uint32_t format)
{
    constexpr std::uint32_t First = 0x8B90; // GL_PALETTE4_RGB8_OES
    constexpr std::uint32_t Last = 0x8B99;  // GL_PALETTE8_RGB5_A1_OES
    return format >= First && format <= Last;
}

Need NeedOf(Data::CallId call)
{
    switch (call) {
#include "Host/NeedCases.inc"
    default:
        return Need::Nothing;
    }
}

/// Notes what calls need.
class NeedReader {
public:
    explicit NeedReader(Requirements& needed) : m_needed(needed) {}

    void Read(const CallArguments& arguments)
    {
        switch (NeedOf(arguments.Call())) {
        case Need::Nothing:
            break;
        case Need::Version:
            m_needed.version = std::max(m_needed.version, ContextVersion(arguments));
            break;
        case Need::CompressedTexture:
            if (!IsPaletted(Value(arguments, "internalformat")))
                m_needed.textureFormats.insert(Value(arguments, "internalformat"));
            Texture(arguments);
            break;
        case Need::CompressedUpload:
            m_needed.textureFormats.insert(Value(arguments, "format"));
            break;
        case Need::ProgramBinary:
            m_needed.binaryFormats.insert(Value(arguments, "binaryFormat"));
            break;
        case Need::Texture:
            Texture(arguments);
            break;
        case Need::Renderbuffer:
            Size(GL_MAX_RENDERBUFFER_SIZE, arguments);
            Use(GL_MAX_SAMPLES, arguments.Find("samples"));
            break;
        case Need::Attachment:
            Use(GL_MAX_SAMPLES, arguments.Find("samples"));
            if (const std::uint32_t attachment = Value(arguments, "attachment"); attachment < GL_DEPTH_ATTACHMENT)
                Index(GL_MAX_COLOR_ATTACHMENTS, attachment, GL_COLOR_ATTACHMENT0);
            break;
        case Need::TextureUnit:
            Index(GL_MAX_COMBINED_TEXTURE_IMAGE_UNITS, Value(arguments, "texture"), GL_TEXTURE0);
            break;
        case Need::DrawBuffers:
            Use(GL_MAX_DRAW_BUFFERS, arguments.Find("n"));
            break;
        case Need::Attribute:
            Index(GL_MAX_VERTEX_ATTRIBS, Value(arguments, arguments.Find("index") ? "index" : "attribindex"), 0);
            break;
        case Need::IndexedBuffer:
            IndexedBuffer(Value(arguments, "target"), Value(arguments, "index"));
            break;
        case Need::ImageUnit:
            Index(GL_MAX_IMAGE_UNITS, Value(arguments, "unit"), 0);
            break;
        }
    }

private:
    void Use(std::uint32_t limit, std::optional<std::int32_t> value)
    {
        if (value.value_or(0) > 0) {
            std::int64_t& most = m_needed.limits[limit];
            most = std::max<std::int64_t>(most, *value);
        }
    }
    /// One of a numbered series of which `first` is number 0. Other values are no member of it.
    void Index(std::uint32_t limit, std::uint32_t value, std::uint32_t first)
    {
        constexpr std::uint32_t LongestSeries = 256;
        if (value >= first && value - first < LongestSeries)
            Use(limit, static_cast<std::int32_t>(value - first + 1));
    }
    void Size(std::uint32_t limit, const CallArguments& arguments)
    {
        Use(limit, arguments.Find("width"));
        Use(limit, arguments.Find("height"));
    }
    void Texture(const CallArguments& arguments)
    {
        const std::uint32_t target = Value(arguments, "target");
        const bool isFace = target >= GL_TEXTURE_CUBE_MAP_POSITIVE_X && target <= GL_TEXTURE_CUBE_MAP_NEGATIVE_Z;
        if (isFace || target == GL_TEXTURE_CUBE_MAP || target == GL_TEXTURE_CUBE_MAP_ARRAY)
            Size(GL_MAX_CUBE_MAP_TEXTURE_SIZE, arguments);
        else
            Size(target == GL_TEXTURE_3D ? GL_MAX_3D_TEXTURE_SIZE : GL_MAX_TEXTURE_SIZE, arguments);
        Use(target == GL_TEXTURE_3D ? GL_MAX_3D_TEXTURE_SIZE : GL_MAX_ARRAY_TEXTURE_LAYERS, arguments.Find("depth"));
        Use(GL_MAX_SAMPLES, arguments.Find("samples"));
    }
    void IndexedBuffer(std::uint32_t target, std::uint32_t index)
    {
        constexpr std::pair<std::uint32_t, std::uint32_t> Bindings[] = {
            {GL_UNIFORM_BUFFER, GL_MAX_UNIFORM_BUFFER_BINDINGS},
            {GL_SHADER_STORAGE_BUFFER, GL_MAX_SHADER_STORAGE_BUFFER_BINDINGS},
            {GL_ATOMIC_COUNTER_BUFFER, GL_MAX_ATOMIC_COUNTER_BUFFER_BINDINGS},
            {GL_TRANSFORM_FEEDBACK_BUFFER, GL_MAX_TRANSFORM_FEEDBACK_SEPARATE_ATTRIBS},
        };
        for (const auto& [buffer, limit] : Bindings)
            if (target == buffer)
                Index(limit, index, 0);
    }

    Requirements& m_needed;
};

} // namespace

Requirements ReadRequirements(const std::string& captureFile, std::uint32_t lastFrame)
{
    Requirements needed;
    std::string error;
    const auto source = Data::CaptureSource::Open(captureFile, error);
    if (!source)
        return needed;
    Data::Diagnostics quiet(captureFile, nullptr);
    const std::vector<Data::FileCall>& calls = source->Calls();
    std::vector<std::uint64_t> counts(calls.size());
    NeedReader reader(needed);
    const auto visit = [&](const Data::RecordCursor& record) {
        const std::uint32_t id = record.Header().id;
        if (id < calls.size() && !calls[id].name.empty()) {
            ++counts[id];
            if (calls[id].known < Data::callCount)
                reader.Read(CallArguments(static_cast<Data::CallId>(calls[id].known), record));
        }
    };
    // As much as can be read is better than nothing; a replay reports what is wrong with the file.
    static_cast<void>(Data::WalkRecords(*source, quiet, visit, lastFrame));
    for (std::size_t id = 0; id < calls.size(); ++id)
        if (counts[id] > 0)
            needed.functions[calls[id].name] += counts[id];
    return needed;
}

} // namespace Host
