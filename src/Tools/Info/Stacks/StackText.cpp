#include "Tools/Info/Stacks/StackText.h"

namespace Tools {

namespace {

/// A frame of a stack, and the file that it lies in, if any.
struct FrameView {
    std::uint64_t address;
    const Data::CodeModule* module;

    /// In the file, as its own addresses are.
    [[nodiscard]] std::uint64_t Offset() const { return module ? address - module->bias : address; }
    /// Paths of a capture may be any bytes.
    [[nodiscard]] std::string Path() const
    {
        std::string path = module ? module->path : "";
        std::ranges::replace_if(
            path, [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
        return path;
    }
};

/// "Scene::Draw() at src/Scene.cpp:57", or as much of it as is known. Offsets are those of the return, which comes
/// after the place.
std::string PlainText(const FrameView& frame, const CodePlace& place)
{
    if (place.function.empty())
        return frame.module ? frame.Path() + "+" + HexText(frame.Offset()) : HexText(frame.address);
    if (place.file.empty())
        return place.function + "+" + HexText(place.offset + 1) + " in " + frame.Path();
    return place.function + (place.isInlined ? " (inlined)" : "") + " at " + place.file + ":" +
           std::to_string(place.line);
}

std::string JsonText(const FrameView& frame, const CodePlace& place)
{
    std::string text = "{\"address\":" + JsonString(HexText(frame.address));
    if (frame.module)
        text += ",\"module\":" + JsonString(frame.Path()) + ",\"offset\":" + JsonString(HexText(frame.Offset()));
    if (!place.function.empty())
        text += ",\"function\":" + JsonString(place.function);
    if (!place.file.empty())
        text += ",\"file\":" + JsonString(place.file) + ",\"line\":" + std::to_string(place.line);
    return text + (place.isInlined ? ",\"inlined\":true}" : "}");
}

} // namespace

StackText::StackText(Notation notation, const std::string& folders, Data::Diagnostics& diagnostics)
    : m_notation(notation), m_stacks(diagnostics),
      m_symbols(folders, [&diagnostics](const std::string& text) { diagnostics.File(text); })
{
}

bool StackText::Take(const Data::RecordView& record)
{
    if (record.Is(Data::RecordId::CallStack)) {
        m_next = m_stacks.StackOf(record);
        return true;
    }
    return m_stacks.Take(record);
}

const std::string& StackText::Text(std::uint32_t stack)
{
    const auto [found, isNew] = m_texts.try_emplace(stack);
    if (isNew)
        found->second = Frames(stack);
    return found->second;
}

std::string StackText::Frames(std::uint32_t stack)
{
    const bool isJson = m_notation == Notation::Json;
    std::string text;
    std::size_t number = 0;
    for (const Data::StackFrame& frame : m_stacks.Frames(stack)) {
        const FrameView view = {frame.address, frame.module != 0 ? &m_stacks.Module(frame.module) : nullptr};
        // The call is in front of where it returns to.
        std::vector<CodePlace> places =
            view.module ? m_symbols.Find(frame.module, *view.module, view.Offset() - 1) : std::vector<CodePlace>();
        if (places.empty())
            places.emplace_back();
        for (const CodePlace& place : places) {
            text += isJson ? (number > 0 ? "," : "") + JsonText(view, place)
                           : "\n    #" + std::to_string(number) + " " + PlainText(view, place);
            ++number;
        }
    }
    return isJson ? "[" + text + "]" : text;
}

} // namespace Tools
