// What buffers hold: bytes, or a table of what those mean.
#include <algorithm>
#include <map>

#include "Inspect/Error.h"
#include "Inspect/Formats/BlockLayout.h"
#include "Inspect/Formats/MeshFile.h"
#include "Inspect/Queries/Request.h"
#include "Tools/Info/Notation.h"

namespace Inspect {

namespace {

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
BlockLayout VertexLayout(const Request& request, std::uint32_t& base)
{
    const Json answer = request.AskVertices({{"first", 0}, {"count", 0}});
    const std::uint32_t buffer = request.Number("name");
    std::vector<const Json*> arrays;
    for (const Json& array : answer["arrays"])
        if (array.value("buffer", 0U) == buffer)
            arrays.push_back(&array);
    if (arrays.empty())
        throw RequestError(request.NameOf(request.At()) + " takes no vertices from buffer " + std::to_string(buffer));
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
        layout.leaves.push_back(
            {ArrayName(*array), {*scalar, array->value("size", 1U)}, array->value("offset", 0U) - base});
    }
    return layout;
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
BlockLayout ProgramLayout(const Request& request, const std::string& name, std::size_t bytes)
{
    const Place place = request.At();
    const std::uint32_t program = ProgramIn(*request.inspector.State(place));
    if (program == 0)
        throw RequestError("no program is in use at " + request.NameOf(place));
    const Json answer = request.Ask(Inspector::AboutProgram(program)).json;
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
    throw RequestError("the program in use has no block \"" + name + "\"" +
                       (names.empty() ? ", and none at all" : "; it has " + names));
}

Json ToTable(const BlockLayout& layout, const std::vector<std::uint8_t>& bytes, std::uint32_t base,
             const Request& request)
{
    const std::uint32_t stride = request.Number("stride", layout.stride);
    const std::size_t rest = bytes.size() - std::min<std::size_t>(base, bytes.size());
    const std::size_t total = stride == 0 ? (rest > 0 ? 1 : 0) : (rest + stride - 1) / stride;
    const std::size_t first = std::min<std::size_t>(request.Number("first", 0), total);
    const std::size_t count = std::min<std::size_t>({request.Number("count", MostRows), MostRows, total - first});
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

/// Bytes, or with "as" a table: of the vertices of the draw, of a block of the program in use, or by a declaration.
Answer Buffer(const Request& request)
{
    constexpr std::uint32_t Most = 1U << 30;
    const bool isTable = request.Has("as");
    const ReplayAnswer answer = request.AskAbout("buffer", {{"offset", isTable ? 0 : request.Number("offset", 0)},
                                                            {"size", isTable ? Most : request.Number("size", Most)}});
    if (!isTable) {
        Answer contents = Contents(answer);
        contents.headers["Playback-Size"] = std::to_string(answer.json.value("size", std::size_t{0}));
        return contents;
    }
    constexpr std::string_view Block = "block:";
    const std::string as = request.Text("as");
    std::uint32_t base = request.Number("offset", 0);
    const std::size_t bytes = answer.bytes.size() - std::min<std::size_t>(base, answer.bytes.size());
    BlockLayout layout;
    if (as == "vertices") {
        layout = VertexLayout(request, base);
    } else if (as.starts_with(Block)) {
        layout = ProgramLayout(request, as.substr(Block.size()), bytes);
    } else {
        const BlockDeclaration declaration = ParseDeclaration(as);
        layout = LayOut(declaration, request.Text("layout", declaration.layout.empty() ? "std430" : declaration.layout),
                        bytes);
    }
    return ToTable(layout, answer.bytes, base, request);
}

} // namespace

std::span<const Query> BufferQueries()
{
    static constexpr Query All[] = {{"buffer", Buffer}};
    return All;
}

} // namespace Inspect
