#include "Tools/Info/RecordText.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "Data/CallParameters.h"
#include "Tools/Info/EnumNames.h"

namespace Tools {

namespace {

/// Elements and characters of contents that are shown.
constexpr std::uint32_t maxElements = 8;
constexpr std::uint32_t maxCharacters = 72;

std::string Hex(std::uint64_t value)
{
    char text[24];
    std::snprintf(text, sizeof text, "0x%" PRIx64, value);
    return text;
}

std::string Float(float value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%g", static_cast<double>(value));
    return text;
}

/// An enum by its name. Small values have too many meanings to name one.
std::string Enum(std::uint32_t value, bool isEgl)
{
    const char* const name = value > 7 ? (isEgl ? EGLEnumName(value) : GLEnumName(value)) : nullptr;
    return name ? name : Hex(value);
}

/// EGL passes its enums as plain numbers; all of them lie in one range.
std::string EglNumber(std::int64_t value)
{
    return value >= 0x3000 && value < 0x4000 ? Enum(static_cast<std::uint32_t>(value), true) : std::to_string(value);
}

std::string Quoted(std::string_view text)
{
    std::string quoted = "\"";
    for (const char character : text.substr(0, maxCharacters)) {
        if (character == '\n')
            quoted += "\\n";
        else if (character == '"' || character == '\\')
            quoted += std::string("\\") + character;
        else
            quoted += static_cast<unsigned char>(character) < ' ' ? '?' : character;
    }
    return quoted + (text.size() > maxCharacters ? "...\"" : "\"");
}

template <class T> T Load(const std::uint8_t* at)
{
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

std::string Value(const std::uint8_t* at, char code, std::uint32_t bytes, bool isEgl)
{
    switch (code) {
    case 'f':
        return Float(Load<float>(at));
    case 'e':
        return Enum(Load<std::uint32_t>(at), isEgl);
    case 'm':
        return Hex(Load<std::uint32_t>(at));
    case 'i':
        return isEgl ? EglNumber(Load<std::int32_t>(at)) : std::to_string(Load<std::int32_t>(at));
    case 'l':
        return isEgl ? EglNumber(Load<std::int64_t>(at)) : std::to_string(Load<std::int64_t>(at));
    case 'p':
        return Hex(Load<std::uint64_t>(at));
    default:
        if (bytes == 1)
            return std::to_string(*at);
        return std::to_string(bytes == 8 ? Load<std::uint64_t>(at) : Load<std::uint32_t>(at));
    }
}

/// The memory behind a pointer argument.
struct Contents {
    const std::uint8_t* data;
    std::uint32_t bytes;

    [[nodiscard]] std::string_view Text(std::uint64_t at = 0) const
    {
        if (at > bytes)
            return "?";
        const std::string_view rest(reinterpret_cast<const char*>(data) + at, bytes - at);
        return rest.substr(0, rest.find('\0'));
    }
};

std::string List(const Contents& contents, const Data::ParameterDescription& parameter, bool isEgl)
{
    if (parameter.code == 'x')
        return "<" + std::to_string(contents.bytes) + " bytes>";
    const std::uint32_t count = contents.bytes / parameter.bytes;
    std::string text = "[";
    for (std::uint32_t i = 0; i < std::min(count, maxElements); ++i) {
        const std::uint8_t* const at = contents.data + i * parameter.bytes;
        const bool isName = parameter.form == Data::ParameterForm::Attribs && i % 2 == 0;
        text += (i > 0 ? ", " : "") +
                (isName ? Enum(Load<std::uint32_t>(at), isEgl) : Value(at, parameter.code, parameter.bytes, isEgl));
    }
    return text + (count > maxElements ? ", ... " + std::to_string(count) + "]" : "]");
}

std::string StringList(const Contents& contents)
{
    // As many slots as lie in front of the first string.
    const std::uint64_t end = contents.bytes >= 8 ? Load<std::uint64_t>(contents.data) : 0;
    const std::uint64_t count = std::min<std::uint64_t>(end, contents.bytes) / 8;
    std::string text = "[";
    for (std::uint64_t i = 0; i < std::min<std::uint64_t>(count, maxElements); ++i)
        text += (i > 0 ? ", " : "") + Quoted(contents.Text(Load<std::uint64_t>(contents.data + i * 8)));
    return text + (count > maxElements ? ", ..." : "") + "]";
}

std::string Argument(const Data::RecordCursor& record, const Data::ParameterDescription& parameter, bool isEgl)
{
    const std::uint32_t recordBytes = record.Header().bytes;
    const bool isScalar = parameter.form == Data::ParameterForm::Scalar;
    if (parameter.at + (isScalar ? parameter.bytes : sizeof(Data::PointerSlot)) > recordBytes)
        return "?";
    const std::uint8_t* const at = record.Record() + parameter.at;
    if (isScalar)
        return Value(at, parameter.code, parameter.bytes, isEgl);
    const auto slot = Load<Data::PointerSlot>(at);
    if (slot.offset == 0)
        return slot.value == 0 ? "null" : Hex(slot.value);
    if (slot.offset > recordBytes || slot.bytes > recordBytes - slot.offset)
        return "?";
    const Contents contents{record.Record() + slot.offset, slot.bytes};
    switch (parameter.form) {
    case Data::ParameterForm::Text:
        return Quoted(contents.Text());
    case Data::ParameterForm::Strings:
        return StringList(contents);
    default:
        return List(contents, parameter, isEgl);
    }
}

std::string CallText(const Data::RecordCursor& record, const Data::FileCall& call)
{
    if (call.known >= Data::callCount)
        return call.name + "(?)";
    const bool isEgl = call.name.starts_with("egl");
    const auto id = static_cast<Data::CallId>(call.known);
    std::string text = call.name + "(";
    bool isFirst = true;
    for (const Data::ParameterDescription& parameter : Data::ParametersOf(id)) {
        text += (isFirst ? "" : ", ") + std::string(parameter.name) + "=" + Argument(record, parameter, isEgl);
        isFirst = false;
    }
    text += ")";
    if (const Data::ParameterDescription* const returned = Data::ReturnOf(id))
        text += " = " + Argument(record, *returned, isEgl);
    return text;
}

std::string Sized(const char* what, const Data::PointerSlot& slot)
{
    return what + std::string(", ") + std::to_string(slot.bytes) + " bytes";
}

std::string BuiltInText(const Data::RecordCursor& record)
{
    using Data::RecordId;
    const auto number = [](std::uint64_t value) { return std::to_string(value); };
    const auto id = static_cast<RecordId>(record.Header().id);
    switch (id) {
    case RecordId::Thread:
        if (Data::ThreadRecord r; record.Read(r))
            return "-- thread " + number(r.thread);
        break;
    case RecordId::BlockStart:
    case RecordId::BlockEnd:
        if (Data::BlockRecord r; record.Read(r))
            return (id == RecordId::BlockStart ? "-- start of block of type " : "-- end of block of type ") +
                   number(r.type);
        break;
    case RecordId::FrameEnd:
        if (Data::FrameEndRecord r; record.Read(r))
            return "-- end of frame, " + number(r.timeUs) + " us";
        break;
    case RecordId::FrameHash:
        if (Data::FrameHashRecord r; record.Read(r))
            return "-- hash of frame " + number(r.frame) + ", surface " + number(r.surface) + ", " + number(r.width) +
                   "x" + number(r.height) + ": " + Hex(r.hash);
        break;
    case RecordId::VertexAttribData:
        if (Data::VertexAttribDataRecord r; record.Read(r))
            return "-- vertices of attribute " + number(r.index) + ": " + number(r.count) + " from " + number(r.first) +
                   Sized("", r.data);
        break;
    case RecordId::FlushMappedBufferRange:
    case RecordId::UnmapBuffer:
        if (Data::MappedDataRecord r; record.Read(r))
            return "-- data of mapped buffer " + Enum(r.target, false) + " at " + number(r.offset) + Sized("", r.data);
        break;
    case RecordId::Note:
        if (Data::TextRecord r; record.Read(r))
            return "-- not recorded, " + number(r.count) + " times" + Sized("", r.text);
        break;
    case RecordId::TextAscii:
    case RecordId::TextXml:
    case RecordId::TextJson:
    case RecordId::DisplayMessage:
        if (Data::TextRecord r; record.Read(r))
            return Sized("-- text", r.text);
        break;
    case RecordId::WindowSize:
        if (Data::WindowSizeRecord r; record.Read(r))
            return "-- window of surface " + number(r.surface) + ": " + number(r.width) + "x" + number(r.height);
        break;
    case RecordId::ConfigAttribs:
    case RecordId::SurfaceAttribs:
        if (Data::AttribsRecord r; record.Read(r))
            return (id == RecordId::ConfigAttribs ? "-- config " : "-- surface ") + number(r.object) +
                   Sized(": attributes", r.attribs);
        break;
    case RecordId::EGLImageCreate:
    case RecordId::EGLImageContent:
        if (Data::EGLImageRecord r; record.Read(r))
            return "-- EGLImage " + number(r.image) + ": " + number(r.width) + "x" + number(r.height);
        break;
    case RecordId::DefaultColor:
    case RecordId::DefaultDepth:
    case RecordId::DefaultStencil:
        if (Data::DefaultBufferRecord r; record.Read(r))
            return "-- default framebuffer of surface " + number(r.surface) + ": " + number(r.width) + "x" +
                   number(r.height) + Sized("", r.data);
        break;
    case RecordId::MultisampleTexture:
        if (Data::MultisampleTextureRecord r; record.Read(r))
            return "-- multisample texture " + number(r.texture) + ": " + number(r.width) + "x" + number(r.height) +
                   Sized("", r.data);
        break;
    }
    return "-- record of kind " + number(record.Header().id) + ", " + number(record.Header().bytes) + " bytes";
}

} // namespace

std::string RecordText(const Data::RecordCursor& record, const Data::CaptureSource& source)
{
    const std::uint32_t id = record.Header().id;
    if (id >= Data::firstBuiltInId)
        return BuiltInText(record);
    if (id >= source.Calls().size() || source.Calls()[id].name.empty())
        return "-- call with number " + std::to_string(id) + ", which the capture does not name";
    return CallText(record, source.Calls()[id]);
}

} // namespace Tools
