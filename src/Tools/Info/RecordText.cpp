#include "Tools/Info/RecordText.h"

#include "Data/Capture/ReferenceFormat.h"
#include "Data/Records/CallArguments.h"
#include "Data/Records/ProgramEnd.h"

namespace Tools {

namespace {

std::string CallText(Notation notation, const Data::RecordView& record, const Data::FileCall& call,
                     const Data::BufferBindings& bindings)
{
    const bool isJson = notation == Notation::Json;
    if (call.known >= Data::callCount)
        return isJson ? "\"name\":" + JsonString(call.name) : call.name + "(?)";
    const Data::CallArguments arguments(static_cast<Data::CallId>(call.known), record);
    std::string text = isJson ? "\"name\":" + JsonString(call.name) + ",\"args\":{" : call.name + "(";
    bool isFirst = true;
    for (const Data::ParameterDescription& parameter : Data::ParametersOf(arguments.Call())) {
        text += isFirst ? "" : isJson ? "," : ", ";
        text += isJson ? JsonString(parameter.name) + ":" : std::string(parameter.name) + "=";
        text += ArgumentText(notation, arguments, parameter, bindings);
        isFirst = false;
    }
    text += isJson ? "}" : ")";
    if (const Data::ParameterDescription* const returned = Data::ReturnOf(arguments.Call()))
        text += (isJson ? ",\"return\":" : " = ") + ArgumentText(notation, arguments, *returned, bindings);
    return text;
}

std::string Sized(const char* what, const Data::PointerSlot& slot)
{
    return what + std::string(", ") + std::to_string(slot.bytes) + " bytes";
}

/// Surfaces, images and what was in them; empty for other kinds.
std::string SurfaceText(const Data::RecordView& record, Data::RecordId id)
{
    using Data::RecordId;
    const auto number = [](std::uint64_t value) { return std::to_string(value); };
    switch (id) {
    case RecordId::WindowSize:
        if (Data::WindowSizeRecord r; record.Read(r))
            return "window of surface " + number(r.surface) + ": " + number(r.width) + "x" + number(r.height);
        break;
    case RecordId::ConfigAttribs:
    case RecordId::SurfaceAttribs:
        if (Data::AttribsRecord r; record.Read(r))
            return (id == RecordId::ConfigAttribs ? "config " : "surface ") + number(r.object) +
                   Sized(": attributes", r.attribs);
        break;
    case RecordId::EGLImageCreate:
    case RecordId::EGLImageContent:
        if (Data::EGLImageRecord r; record.Read(r))
            return "EGLImage " + number(r.image) + ": " + number(r.width) + "x" + number(r.height) +
                   (id == RecordId::EGLImageContent ? Sized("", r.planes[0].data) : "");
        break;
    case RecordId::DefaultColor:
    case RecordId::DefaultDepth:
    case RecordId::DefaultStencil:
        if (Data::DefaultBufferRecord r; record.Read(r))
            return "default framebuffer of surface " + number(r.surface) + ": " + number(r.width) + "x" +
                   number(r.height) + Sized("", r.data);
        break;
    case RecordId::MultisampleTexture:
        if (Data::MultisampleTextureRecord r; record.Read(r))
            return "multisample texture " + number(r.texture) + ": " + number(r.width) + "x" + number(r.height) +
                   Sized("", r.data);
        break;
    default:
        break;
    }
    return "";
}

std::string StackRecordText(const Data::RecordView& record)
{
    if (Data::ModuleRecord r; record.Is(Data::RecordId::Module) && record.Read(r))
        return "module " + std::to_string(r.module) + " of the program, from " + HexText(r.begin);
    if (Data::StackRecord r; record.Is(Data::RecordId::Stack) && record.Read(r))
        return "stack " + std::to_string(r.stack) + Sized("", r.frames);
    if (Data::CallStackRecord r; record.Is(Data::RecordId::CallStack) && record.Read(r))
        return "the next call is from stack " + std::to_string(r.stack);
    return "";
}

/// What ended the frame, and its picture.
std::string FrameEndText(const Data::FramePictureRecord& record)
{
    const auto end = static_cast<std::size_t>(record.end);
    std::string text = end < std::size(Data::FrameEndWords)
                           ? "frame ended by a " + std::string(Data::FrameEndWords[end])
                           : "frame ended with the program";
    if (record.state == Data::PictureState::None)
        return text + ", without a picture";
    text += ", framebuffer " + std::to_string(record.framebuffer);
    if (record.state == Data::PictureState::Hashed)
        text += ", " + std::to_string(record.width) + "x" + std::to_string(record.height) + ": " + HexText(record.hash);
    return text;
}

std::string EndText(const Data::RecordView& record)
{
    if (Data::UnfinishedRecord r; record.Is(Data::RecordId::Unfinished) && record.Read(r))
        return "the program ended in " +
               (record.HasContents(r.records) ? Sized("a call that did not return", r.records) : "the call in front");
    if (Data::ProgramEndRecord r; record.Is(Data::RecordId::ProgramEnd) && record.Read(r))
        return "the program " + Data::Describe(Data::ProgramEnd{true, r.kind, r.value, {}});
    return "";
}

std::string ReferenceText(const Data::RecordView& record)
{
    const auto of = [](std::uint32_t driver, std::uint32_t framebuffer, std::uint32_t surface) {
        return (driver == 0 ? "the recording" : "driver " + std::to_string(driver)) +
               (surface != 0 ? ", surface " + std::to_string(surface) : ", framebuffer " + std::to_string(framebuffer));
    };
    if (Data::ReferenceDriverRecord r; record.Is(Data::RecordId::ReferenceDriver) && record.Read(r))
        return "driver " + std::to_string(r.driver) + ": " + std::string(record.Text(r.renderer)) + ", " +
               std::string(record.Text(r.version));
    if (Data::ReferenceHashRecord r; record.Is(Data::RecordId::ReferenceHash) && record.Read(r))
        return (r.of == Data::ReferenceOf::Action ? "hash after the call in front, by " : "hash of the frame, by ") +
               of(r.driver, r.framebuffer, r.surface) +
               (r.state == Data::PictureState::Hashed
                    ? ", " + std::to_string(r.width) + "x" + std::to_string(r.height) + ": " + HexText(r.hash)
                    : ": nothing to read");
    if (Data::ReferencePictureRecord r; record.Is(Data::RecordId::ReferencePicture) && record.Read(r))
        return "picture of the frame, by " + of(r.driver, r.framebuffer, r.surface) + Sized("", r.picture);
    return "";
}

std::string BuiltInText(const Data::RecordView& record)
{
    using Data::RecordId;
    const auto number = [](std::uint64_t value) { return std::to_string(value); };
    const auto id = static_cast<RecordId>(record.Header().id);
    switch (id) {
    case RecordId::Thread:
        if (Data::ThreadRecord r; record.Read(r))
            return "thread " + number(r.thread);
        break;
    case RecordId::BlockStart:
    case RecordId::BlockEnd:
        if (Data::BlockRecord r; record.Read(r))
            return (id == RecordId::BlockStart ? "start of block of type " : "end of block of type ") + number(r.type);
        break;
    case RecordId::FrameEnd:
        if (Data::FrameEndRecord r; record.Read(r))
            return "end of frame, " + number(r.timeUs) + " us";
        break;
    case RecordId::FrameHash:
        if (Data::FrameHashRecord r; record.Read(r))
            return "hash of frame " + number(r.frame) + ", surface " + number(r.surface) + ", " + number(r.width) +
                   "x" + number(r.height) + ": " + HexText(r.hash);
        break;
    case RecordId::FramePicture:
        if (Data::FramePictureRecord r; record.Read(r))
            return FrameEndText(r);
        break;
    case RecordId::VertexAttribData:
        if (Data::VertexAttribDataRecord r; record.Read(r))
            return "vertices of attribute " + number(r.index) + ": " + number(r.count) + " from " + number(r.first) +
                   Sized("", r.data);
        break;
    case RecordId::FlushMappedBufferRange:
    case RecordId::UnmapBuffer:
        if (Data::MappedDataRecord r; record.Read(r))
            return "data of mapped buffer " + EnumText(r.target) + " at " + number(r.offset) + Sized("", r.data);
        break;
    case RecordId::Note:
        if (Data::TextRecord r; record.Read(r))
            return "not recorded, " + number(r.count) + (r.count == 1 ? " time" : " times") + Sized("", r.text);
        break;
    case RecordId::TextAscii:
    case RecordId::TextXml:
    case RecordId::TextJson:
    case RecordId::DisplayMessage:
        if (Data::TextRecord r; record.Read(r))
            return Sized("text", r.text);
        break;
    default:
        for (std::string text :
             {SurfaceText(record, id), StackRecordText(record), ReferenceText(record), EndText(record)})
            if (!text.empty())
                return text;
    }
    return "record of kind " + number(record.Header().id) + ", " + number(record.Header().bytes) + " bytes";
}

/// The call of a record in the file's table; null when there is none.
const Data::FileCall* FindCall(const Data::RecordView& record, const Data::CaptureSource& source)
{
    const std::uint32_t id = record.Header().id;
    return id < source.Calls().size() && !source.Calls()[id].name.empty() ? &source.Calls()[id] : nullptr;
}

} // namespace

std::string_view CallName(const Data::RecordView& record, const Data::CaptureSource& source)
{
    const Data::FileCall* const call = FindCall(record, source);
    return call ? std::string_view(call->name) : std::string_view();
}

std::string RecordText(Notation notation, const RecordPlace& place, const Data::RecordView& record,
                       const Data::CaptureSource& source, const Data::BufferBindings& bindings, std::string_view stack)
{
    const Data::FileCall* const call = FindCall(record, source);
    std::string text;
    if (call)
        text = CallText(notation, record, *call, bindings);
    else if (record.Header().id >= Data::FirstBuiltInId)
        text = BuiltInText(record);
    else
        text = "call with number " + std::to_string(record.Header().id) + ", which the capture does not name";

    const auto number = [](std::uint32_t value) { return std::to_string(value); };
    if (notation != Notation::Json)
        return number(place.frame) + ":" + number(place.call) + (place.action ? "#" + place.action->Text() : "") +
               " t" + number(place.thread) + " c" + number(place.context) + (call ? " " : " -- ") + text +
               std::string(stack);
    return "{\"frame\":" + number(place.frame) + ",\"call\":" + number(place.call) +
           (place.action ? ",\"action\":" + JsonString(place.action->Text()) : "") +
           ",\"thread\":" + number(place.thread) + ",\"context\":" + number(place.context) + "," +
           (call ? text : "\"record\":" + JsonString(text)) +
           (stack.empty() ? "" : ",\"stack\":" + std::string(stack)) + "}";
}

} // namespace Tools
