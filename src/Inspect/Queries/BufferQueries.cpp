// What buffers hold: bytes, or a table of what those mean.
#include <algorithm>
#include <map>

#include "Inspect/Error.h"
#include "Inspect/Formats/BlockLayout.h"
#include "Inspect/Queries/Parameters.h"
#include "Tools/Info/Notation.h"

namespace Inspect {

namespace {

constexpr std::uint32_t MostRows = 10'000;

/// How the numbers of a vertex array lie in memory; nothing for packed ones.
std::optional<Scalar> ScalarOf(const std::string& type, bool isNormalized)
{
    static const std::map<std::string, std::pair<Scalar, Scalar>> types = {
        {"GL_FLOAT", {Scalar::Float, Scalar::Float}},
        {"GL_HALF_FLOAT", {Scalar::Half, Scalar::Half}},
        {"GL_HALF_FLOAT_OES", {Scalar::Half, Scalar::Half}},
        {"GL_FIXED", {Scalar::Fixed, Scalar::Fixed}},
        {"GL_INT", {Scalar::Int, Scalar::Int}},
        {"GL_UNSIGNED_INT", {Scalar::Unsigned, Scalar::Unsigned}},
        {"GL_SHORT", {Scalar::Int16, Scalar::Snorm16}},
        {"GL_UNSIGNED_SHORT", {Scalar::Unsigned16, Scalar::Unorm16}},
        {"GL_BYTE", {Scalar::Int8, Scalar::Snorm8}},
        {"GL_UNSIGNED_BYTE", {Scalar::Unsigned8, Scalar::Unorm8}},
    };
    const auto found = types.find(type);
    if (found == types.end())
        return std::nullopt;
    return isNormalized ? found->second.second : found->second.first;
}

/// "GL_FLOAT_MAT4" as a declaration has it.
std::optional<BlockType> TypeNamed(const std::string& type)
{
    static const std::map<std::string, std::string> plain = {
        {"GL_FLOAT", "float"}, {"GL_INT", "int"}, {"GL_UNSIGNED_INT", "uint"}, {"GL_BOOL", "bool"}};
    if (const auto found = plain.find(type); found != plain.end())
        return BlockType::Parse(found->second);
    constexpr std::pair<std::string_view, const char*> Prefixes[] = {{"GL_FLOAT_VEC", "vec"},
                                                                     {"GL_INT_VEC", "ivec"},
                                                                     {"GL_UNSIGNED_INT_VEC", "uvec"},
                                                                     {"GL_BOOL_VEC", "bvec"},
                                                                     {"GL_FLOAT_MAT", "mat"}};
    for (const auto& [prefix, name] : Prefixes)
        if (type.starts_with(prefix))
            return BlockType::Parse(name + type.substr(prefix.size()));
    return std::nullopt;
}

/// Where the vertex arrays of the draw lie in the buffer; the first of them decides what a row is.
BlockLayout VertexLayout(Inspector& inspector, const Parameters& parameters, const Place& place, std::uint32_t buffer,
                         std::uint32_t& base)
{
    const Json answer = ReplayOf(inspector, parameters)
                            .Ask(place, {{"do", "vertices"}, {"first", 0}, {"count", 0}}, VersionOf(parameters))
                            .json;
    if (answer.contains("problem"))
        throw Error(Error::Kind::Request, inspector.NameOf(place) + ": " + answer["problem"].get<std::string>());
    std::vector<const Json*> arrays;
    for (const Json& array : answer["arrays"])
        if (array.value("buffer", 0U) == buffer)
            arrays.push_back(&array);
    if (arrays.empty())
        throw Error(Error::Kind::Request,
                    inspector.NameOf(place) + " takes no vertices from buffer " + std::to_string(buffer));
    std::ranges::sort(arrays, {}, [](const Json* array) { return array->value("offset", std::uint64_t{0}); });
    base = arrays.front()->value("offset", 0U);
    BlockLayout layout = {.stride = arrays.front()->value("stride", 0U)};
    for (const Json* const array : arrays) {
        const std::string type = Tools::EnumText(array->value("type", 0U));
        const auto scalar = ScalarOf(type, array->value("isNormalized", false) && !array->value("isInteger", false));
        if (!scalar || array->value("stride", 0U) != layout.stride) {
            layout.isCut = true;
            continue;
        }
        std::string name = array->value("name", "");
        if (name.empty())
            name = "array " + std::to_string(array->value("location", 0));
        layout.leaves.push_back({name, {*scalar, array->value("size", 1U)}, array->value("offset", 0U) - base});
    }
    return layout;
}

/// The program in use; throws Error without one.
std::uint32_t ProgramAt(Inspector& inspector, const Place& place)
{
    const auto state = inspector.State(place);
    const auto context = state->objects.find({});
    const auto program = context != state->objects.end() ? context->second.find("GL_CURRENT_PROGRAM")
                                                         : Tools::StateSnapshot::Values::const_iterator();
    if (context == state->objects.end() || program == context->second.end() || program->second == 0)
        throw Error(Error::Kind::Request, "no program is in use at " + inspector.NameOf(place));
    return program->second.get<std::uint32_t>();
}

void AddVariable(const Json& variable, std::size_t bytes, BlockLayout& layout)
{
    const std::optional<BlockType> type = TypeNamed(Tools::EnumText(variable.value("type", 0U)));
    if (!type) {
        layout.isCut = true;
        return;
    }
    std::string name = variable["name"];
    const bool isArray = name.ends_with("[0]");
    name.resize(name.size() - (isArray ? 3 : 0));
    const std::uint32_t offset = variable.value("offset", 0U);
    const std::uint32_t stride = variable.value("arrayStride", 0U);
    std::size_t count = std::max(variable.value("count", 1U), 1U);
    if (variable.value("count", 1U) == 0 && stride > 0 && bytes > offset)
        count = (bytes - offset) / stride;
    for (std::size_t i = 0; i < count; ++i) {
        if (layout.leaves.size() >= MostLeaves) {
            layout.isCut = true;
            return;
        }
        layout.leaves.push_back({isArray ? name + "[" + std::to_string(i) + "]" : name, *type,
                                 offset + static_cast<std::uint32_t>(i) * stride, variable.value("matrixStride", 0U),
                                 variable.value("isRowMajor", false)});
    }
}

/// A block of the program in use, as the driver has laid it out.
BlockLayout ProgramLayout(Inspector& inspector, const Parameters& parameters, const Place& place,
                          const std::string& name, std::size_t bytes)
{
    const Json answer =
        ReplayOf(inspector, parameters)
            .Ask(place, {{"do", "program"}, {"name", ProgramAt(inspector, place)}}, VersionOf(parameters))
            .json;
    std::string names;
    for (const Json& block : answer.value("blocks", Json::array())) {
        names += (names.empty() ? "" : ", ") + block["name"].get<std::string>();
        if (block["name"] != name)
            continue;
        BlockLayout layout;
        for (const Json& variable : block["variables"])
            AddVariable(variable, bytes, layout);
        std::ranges::stable_sort(layout.leaves, {}, &BlockLeaf::offset);
        return layout;
    }
    throw Error(Error::Kind::Request, "the program in use has no block \"" + name + "\"" +
                                          (names.empty() ? ", and none at all" : "; it has " + names));
}

Json ToTable(const BlockLayout& layout, const std::vector<std::uint8_t>& bytes, std::uint32_t base,
             const Parameters& parameters)
{
    const std::uint32_t stride = NumberOf(parameters, "stride", layout.stride);
    const std::size_t rest = bytes.size() - std::min<std::size_t>(base, bytes.size());
    const std::size_t total = stride == 0 ? (rest > 0 ? 1 : 0) : (rest + stride - 1) / stride;
    const std::size_t first = std::min<std::size_t>(NumberOf(parameters, "first", 0), total);
    const std::size_t count = std::min<std::size_t>({NumberOf(parameters, "count", MostRows), MostRows, total - first});
    Json json = {{"size", bytes.size()}, {"offset", base},        {"stride", stride},
                 {"total", total},       {"isCut", layout.isCut}, {"columns", Json::array()}};
    for (const BlockLeaf& leaf : layout.leaves)
        json["columns"].push_back({{"name", leaf.name}, {"type", leaf.type.Text()}, {"offset", leaf.offset}});
    json["rows"] = Json::array();
    for (std::size_t row = first; row < first + count; ++row) {
        const auto span = std::span(bytes).subspan(base + row * stride);
        Json values = Json::array();
        for (const BlockLeaf& leaf : layout.leaves)
            values.push_back(ValuesOf(leaf, span));
        json["rows"].push_back({{"offset", base + row * stride}, {"values", std::move(values)}});
    }
    return json;
}

} // namespace

/// Bytes, or with "as" a table: of the vertices of the draw, of a block of the program in use, or by a declaration.
Answer AnswerBuffer(Inspector& inspector, const Parameters& parameters)
{
    constexpr std::uint32_t Most = 1U << 30;
    const bool isTable = parameters.contains("as");
    const ReplayAnswer answer = AskAbout(inspector, parameters, "buffer",
                                         {{"offset", isTable ? 0 : NumberOf(parameters, "offset", 0)},
                                          {"size", isTable ? Most : NumberOf(parameters, "size", Most)}});
    if (!isTable) {
        Answer bytes = ToAnswer(answer.json, answer.bytes);
        bytes.headers["Playback-Size"] = std::to_string(answer.json.value("size", std::size_t{0}));
        return bytes;
    }
    constexpr std::string_view Block = "block:";
    const std::string as = TextOf(parameters, "as");
    const Place place = PlaceOf(inspector, parameters);
    std::uint32_t base = NumberOf(parameters, "offset", 0);
    BlockLayout layout;
    if (as == "vertices") {
        layout = VertexLayout(inspector, parameters, place, NumberOf(parameters, "name"), base);
    } else if (as.starts_with(Block)) {
        layout = ProgramLayout(inspector, parameters, place, as.substr(Block.size()),
                               answer.bytes.size() - std::min<std::size_t>(base, answer.bytes.size()));
    } else {
        const BlockDeclaration declaration = ParseDeclaration(as);
        layout = LayOut(declaration,
                        TextOf(parameters, "layout", declaration.layout.empty() ? "std430" : declaration.layout),
                        answer.bytes.size() - std::min<std::size_t>(base, answer.bytes.size()));
    }
    return {.body = Text(ToTable(layout, answer.bytes, base, parameters))};
}

} // namespace Inspect
