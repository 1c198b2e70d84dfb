#include "Tools/Info/Notation.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstring>

#include <nlohmann/json.hpp>

#include "Data/GLEnums.h"
#include "Tools/Info/BitNames.h"
#include "Tools/Info/EnumNames.h"

namespace Tools {

namespace {

/// Elements and characters of contents that are shown to people.
constexpr std::uint32_t MaxElements = 8;
constexpr std::size_t MaxCharacters = 72;

/// Texture and sampler parameters whose values are enums. From GLES3/gl32.h and GLES2/gl2ext.h.
constexpr std::uint32_t EnumNames[] = {
    0x2800, // GL_TEXTURE_MAG_FILTER
    0x2801, // GL_TEXTURE_MIN_FILTER
    0x2802, // GL_TEXTURE_WRAP_S
    0x2803, // GL_TEXTURE_WRAP_T
    0x8072, // GL_TEXTURE_WRAP_R
    0x884C, // GL_TEXTURE_COMPARE_MODE
    0x884D, // GL_TEXTURE_COMPARE_FUNC
    0x8E42, // GL_TEXTURE_SWIZZLE_R
    0x8E43, // GL_TEXTURE_SWIZZLE_G
    0x8E44, // GL_TEXTURE_SWIZZLE_B
    0x8E45, // GL_TEXTURE_SWIZZLE_A
    0x90EA, // GL_DEPTH_STENCIL_TEXTURE_MODE
    0x8A48, // GL_TEXTURE_SRGB_DECODE_EXT
};

template <class T> T Load(const std::uint8_t* at)
{
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

/// The memory of a pointer argument.
using Contents = std::span<const std::uint8_t>;

/// The string at a place in it.
std::string_view TextAt(const Contents& contents, std::uint64_t at)
{
    if (at > contents.size())
        return "?";
    const std::string_view rest(reinterpret_cast<const char*>(contents.data()) + at, contents.size() - at);
    return rest.substr(0, rest.find('\0'));
}

/// Writes the values of one argument.
class Writer {
public:
    /// `pname` is the call's parameter of that name; 0 where it has none.
    Writer(Notation notation, Data::CallId call, std::string_view function, std::string_view parameter,
           std::uint32_t pname)
        : m_isJson(notation == Notation::Json), m_isWhole(notation != Notation::Plain), m_call(call),
          m_function(function), m_parameter(parameter), m_isEnum(HoldsEnum(parameter, pname))
    {
    }

    [[nodiscard]] std::string Word(const std::string& word) const { return m_isJson ? JsonString(word) : word; }

    [[nodiscard]] std::string Value(const std::uint8_t* at, char code, std::uint32_t bytes) const
    {
        switch (code) {
        case 'f':
            return m_isEnum ? EnumOrNumber(static_cast<std::int64_t>(Load<float>(at))) : Float(Load<float>(at));
        case 'e':
            return Enum(Load<std::uint32_t>(at));
        case 'm':
            return Word(BitsText(m_call, m_parameter, Load<std::uint32_t>(at)));
        case 'i':
            return m_isEnum ? EnumOrNumber(Load<std::int32_t>(at)) : Number(Load<std::int32_t>(at));
        case 'b':
            return Boolean(bytes == 1 ? *at : Load<std::uint32_t>(at));
        case 'l':
            return Number(Load<std::int64_t>(at));
        case 'p':
            return Word(HexText(Load<std::uint64_t>(at)));
        default:
            if (bytes == 1)
                return std::to_string(*at);
            return std::to_string(bytes == 8 ? Load<std::uint64_t>(at) : Load<std::uint32_t>(at));
        }
    }

    [[nodiscard]] std::string Text(std::string_view text) const
    {
        if (m_isJson)
            return JsonString(text);
        std::string quoted = "\"";
        const std::size_t shown = m_isWhole ? text.size() : std::min(text.size(), MaxCharacters);
        for (const char character : text.substr(0, shown))
            if (character == '\n')
                quoted += "\\n";
            else if (character == '"' || character == '\\')
                quoted += std::string("\\") + character;
            else
                quoted += static_cast<unsigned char>(character) < ' ' ? '?' : character;
        return quoted + (text.size() > shown ? "...\"" : "\"");
    }

    [[nodiscard]] std::string Texts(const Contents& contents) const
    {
        // As many slots as lie in front of the first string.
        const std::uint64_t end = contents.size() >= 8 ? Load<std::uint64_t>(contents.data()) : 0;
        const std::uint64_t count = std::min<std::uint64_t>(end, contents.size()) / 8;
        return List(count, [&](std::uint64_t i) {
            return Text(TextAt(contents, Load<std::uint64_t>(contents.data() + i * 8)));
        });
    }

    [[nodiscard]] std::string Elements(const Contents& contents, const Data::ParameterDescription& parameter) const
    {
        if (parameter.code == 'x') {
            const std::string bytes = std::to_string(contents.size());
            return m_isJson ? "{\"bytes\":" + bytes + "}" : "<" + bytes + " bytes>";
        }
        return List(contents.size() / parameter.bytes, [&](std::uint64_t i) {
            const std::uint8_t* const at = contents.data() + i * parameter.bytes;
            const bool isName = parameter.form == Data::ParameterForm::Attribs && i % 2 == 0;
            return isName ? Enum(Load<std::uint32_t>(at)) : Value(at, parameter.code, parameter.bytes);
        });
    }

private:
    template <class Element> [[nodiscard]] std::string List(std::uint64_t count, Element element) const
    {
        const std::uint64_t shown = m_isWhole ? count : std::min<std::uint64_t>(count, MaxElements);
        std::string text = "[";
        for (std::uint64_t i = 0; i < shown; ++i)
            text += (i > 0 ? ", " : "") + element(i);
        return text + (count > shown ? ", ... " + std::to_string(count) + "]" : "]");
    }

    [[nodiscard]] std::string Enum(std::uint32_t value) const
    {
        // There are more texture units than the headers name, and other enums have their numbers.
        constexpr std::uint32_t TextureUnit0 = 0x84C0;
        if (m_function == "glActiveTexture" && value >= TextureUnit0)
            return Word("GL_TEXTURE" + std::to_string(value - TextureUnit0));
        const char* const name = EnumName(m_function, value);
        return Word(name ? name : HexText(value));
    }

    /// EGL passes its enums as plain numbers; all of them lie in one range.
    [[nodiscard]] std::string Number(std::int64_t value) const
    {
        return Data::IsEGL(m_function) && value >= 0x3000 && value < 0x4000 ? Enum(static_cast<std::uint32_t>(value))
                                                                            : std::to_string(value);
    }

    /// JSON has no numbers that are none, or infinite.
    [[nodiscard]] std::string Float(float value) const
    {
        char text[32];
        std::snprintf(text, sizeof text, m_isJson ? "%.9g" : "%g", static_cast<double>(value));
        return std::isfinite(value) ? text : Word(text);
    }

    /// Enums that the API passes as plain numbers.
    static bool HoldsEnum(std::string_view parameter, std::uint32_t pname)
    {
        return parameter == "internalformat" ||
               ((parameter == "param" || parameter == "params") && IsEnumParameter(pname));
    }

    [[nodiscard]] std::string EnumOrNumber(std::int64_t value) const
    {
        const char* const name = value > 0 ? EnumName(m_function, static_cast<std::uint32_t>(value)) : nullptr;
        return name ? Word(name) : std::to_string(value);
    }

    [[nodiscard]] std::string Boolean(std::uint32_t value) const
    {
        if (m_isJson || value > 1)
            return std::to_string(value);
        return value == 1 ? "GL_TRUE" : "GL_FALSE";
    }

    bool m_isJson;
    bool m_isWhole;
    Data::CallId m_call;
    std::string_view m_function;
    std::string_view m_parameter;
    bool m_isEnum;
};

/// The target whose buffer a pointer is an offset into, when one is bound there; 0 for an address.
std::uint32_t BufferTarget(std::string_view function, std::string_view parameter)
{
    if (parameter == "indices")
        return Data::Enum::ElementArrayBuffer;
    if (parameter == "pointer")
        return Data::Enum::ArrayBuffer;
    if (parameter == "indirect")
        return function.starts_with("glDispatch") ? Data::Enum::DispatchIndirectBuffer : Data::Enum::DrawIndirectBuffer;
    if (parameter != "pixels" && parameter != "data")
        return 0;
    if (function.starts_with("glRead"))
        return Data::Enum::PixelPackBuffer;
    const bool isUpload = function.starts_with("glTex") || function.starts_with("glCompressedTex");
    return isUpload ? Data::Enum::PixelUnpackBuffer : 0;
}

/// A pointer without contents.
std::string PointerText(bool isJson, std::uint64_t value, std::uint32_t buffer)
{
    if (buffer != 0) {
        const std::string name = std::to_string(buffer);
        const std::string offset = std::to_string(value);
        return isJson ? "{\"buffer\":" + name + ",\"offset\":" + offset + "}" : "buffer " + name + " at " + offset;
    }
    if (value == 0)
        return "null";
    return isJson ? JsonString(HexText(value)) : HexText(value);
}

} // namespace

std::string HexText(std::uint64_t value)
{
    char text[24];
    std::snprintf(text, sizeof text, "0x%" PRIx64, value);
    return text;
}

bool IsEnumParameter(std::uint32_t name)
{
    return std::ranges::find(EnumNames, name) != std::end(EnumNames);
}

std::string EnumText(std::uint32_t value)
{
    const char* const name = GLEnumName(value);
    return name ? name : HexText(value);
}

std::string JsonString(std::string_view text)
{
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string ArgumentText(Notation notation, const Data::CallArguments& call,
                         const Data::ParameterDescription& parameter, const Data::BufferBindings& bindings)
{
    const std::string_view function = NameOf(call.Call());
    const auto pname = static_cast<std::uint32_t>(call.Find("pname").value_or(0));
    const Writer writer(notation, call.Call(), function, parameter.name, pname);
    const bool isScalar = parameter.form == Data::ParameterForm::Scalar;
    if (!call.HasField(parameter.at, isScalar ? parameter.bytes : sizeof(Data::PointerSlot)))
        return writer.Word("?");
    if (isScalar)
        return writer.Value(call.Bytes().data() + parameter.at, parameter.code, parameter.bytes);
    const auto slot = call.Field<Data::PointerSlot>(parameter.at);
    if (slot.offset == 0) {
        const std::uint32_t target = BufferTarget(function, parameter.name);
        return PointerText(notation == Notation::Json, slot.value, target != 0 ? bindings.Bound(target) : 0);
    }
    if (!call.HasContents(slot))
        return writer.Word("?");
    const Contents contents = call.RecordView::Contents(slot);
    switch (parameter.form) {
    case Data::ParameterForm::Text:
        return writer.Text(TextAt(contents, 0));
    case Data::ParameterForm::Strings:
        return writer.Texts(contents);
    default:
        return writer.Elements(contents, parameter);
    }
}

} // namespace Tools
