#include "Inspect/Formats/MeshFile.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>

#include "Interfaces/Util.h"
#include "Util/Page.h"

namespace Inspect {

namespace {

using Json = nlohmann::ordered_json;

/// Joins the vertices between two restarts.
class Assembler {
public:
    Assembler(std::string_view mode, Mesh& mesh) : m_mode(mode), m_mesh(mesh) {}

    static Mesh::Kind KindOf(std::string_view mode)
    {
        return mode == "GL_POINTS"               ? Mesh::Kind::Points
               : mode.starts_with("GL_LINE")     ? Mesh::Kind::Lines
               : mode.starts_with("GL_TRIANGLE") ? Mesh::Kind::Triangles
                                                 : Mesh::Kind::Points;
    }

    void Vertex(std::uint32_t row) { m_run.push_back(row); }
    void Restart()
    {
        const std::size_t count = m_run.size();
        const bool isFan = m_mode == "GL_TRIANGLE_FAN";
        const bool isStrip = m_mode == "GL_TRIANGLE_STRIP";
        const bool isLines = m_mode == "GL_LINES";
        for (std::size_t i = 0; i < count; ++i)
            if (m_mesh.kind == Mesh::Kind::Points)
                Add({i});
            else if (m_mesh.kind == Mesh::Kind::Lines && i > 0 && (!isLines || i % 2 == 1))
                Add({i - 1, i});
            else if (isFan && i > 1)
                Add({0, i - 1, i});
            else if (isStrip && i > 1)
                // Every second one turns the other way.
                Add({i - 2 + i % 2, i - 1 - i % 2, i});
            else if (m_mode == "GL_TRIANGLES" && i % 3 == 2)
                Add({i - 2, i - 1, i});
        if (m_mode == "GL_LINE_LOOP" && count > 2)
            Add({count - 1, 0});
        m_run.clear();
    }

private:
    static constexpr std::uint32_t Outside = std::numeric_limits<std::uint32_t>::max();

    void Add(std::initializer_list<std::size_t> corners)
    {
        if (std::ranges::none_of(corners, [this](std::size_t corner) { return m_run[corner] == Outside; }))
            for (const std::size_t corner : corners)
                m_mesh.indices.push_back(m_run[corner]);
    }

    std::string_view m_mode;
    Mesh& m_mesh;
    std::vector<std::uint32_t> m_run;
};

/// As short as the number can be read again.
std::string Text(float value)
{
    char text[32];
    const auto end = std::to_chars(std::begin(text), std::end(text), value);
    return {std::begin(text), end.ptr};
}

/// So many of each vertex; 0 for those that are not there.
std::vector<float> Components(const Mesh::Array& array, std::uint32_t components)
{
    std::vector<float> values;
    for (std::size_t i = 0; i < array.values.size(); i += array.components)
        for (std::uint32_t k = 0; k < components; ++k)
            values.push_back(k < array.components ? array.values[i + k] : 0);
    return values;
}

void AddLines(std::string& text, const char* begin, const Mesh::Array& array, std::uint32_t components)
{
    const std::vector<float> values = Components(array, components);
    for (std::size_t i = 0; i < values.size(); i += components) {
        text += begin;
        for (std::uint32_t k = 0; k < components; ++k)
            text += " " + Text(values[i + k]);
        text += "\n";
    }
}

/// Adds numbers to the file's only buffer, and what they are; answers the number of the accessor.
template <class T>
std::size_t AddAccessor(Json& file, std::vector<std::uint8_t>& buffer, const std::vector<T>& values, Json accessor)
{
    const auto* const begin = reinterpret_cast<const std::uint8_t*>(values.data());
    const std::size_t bytes = values.size() * sizeof(T);
    accessor["bufferView"] = file["bufferViews"].size();
    file["bufferViews"].push_back({{"buffer", 0}, {"byteOffset", buffer.size()}, {"byteLength", bytes}});
    buffer.insert(buffer.end(), begin, begin + bytes);
    file["accessors"].push_back(std::move(accessor));
    return file["accessors"].size() - 1;
}

/// What glTF calls an array: its own names have sizes that are prescribed.
std::string SemanticOf(const Mesh& mesh, const Mesh::Array& array)
{
    if (&array == mesh.Positions())
        return "POSITION";
    if (&array == mesh.FindArray({"norm"}) && array.components == 3)
        return "NORMAL";
    if (&array == mesh.FindArray({"tex", "uv"}) && array.components == 2)
        return "TEXCOORD_0";
    std::string name = "_";
    for (const unsigned char c : array.name)
        name += std::isalnum(c) != 0 ? static_cast<char>(std::toupper(c)) : '_';
    return name;
}

/// The number of its accessor.
std::size_t AddArray(Json& file, std::vector<std::uint8_t>& buffer, const Mesh::Array& array, bool isPositions)
{
    constexpr int Float = 5126;
    constexpr const char* Types[] = {"SCALAR", "VEC2", "VEC3", "VEC4"};
    // Places have three.
    const std::uint32_t components = isPositions ? 3 : std::clamp(array.components, 1U, 4U);
    const std::vector<float> values = Components(array, components);
    Json accessor = {{"componentType", Float}, {"count", values.size() / components}, {"type", Types[components - 1]}};
    if (isPositions) {
        std::array<float, 3> least;
        std::array<float, 3> most;
        least.fill(std::numeric_limits<float>::max());
        most.fill(std::numeric_limits<float>::lowest());
        for (std::size_t i = 0; i < values.size(); ++i) {
            least[i % 3] = std::min(least[i % 3], values[i]);
            most[i % 3] = std::max(most[i % 3], values[i]);
        }
        accessor["min"] = least;
        accessor["max"] = most;
    }
    return AddAccessor(file, buffer, values, std::move(accessor));
}

} // namespace

const Mesh::Array* Mesh::FindArray(std::initializer_list<std::string_view> parts) const
{
    const auto isNamed = [&](const Array& array) {
        const std::string name = Util::String::ToLower(array.name);
        return std::ranges::any_of(parts, [&](std::string_view part) { return name.find(part) != std::string::npos; });
    };
    const auto found = std::ranges::find_if(arrays, isNamed);
    return found != arrays.end() ? &*found : nullptr;
}

const Mesh::Array* Mesh::Positions() const
{
    const Array* const named = FindArray({"pos", "vert"});
    return named || arrays.empty() ? named : &arrays.front();
}

std::string ArrayName(const Json& array)
{
    const std::string name = array.value("name", "");
    return name.empty() ? "array " + std::to_string(array.value("location", 0)) : name;
}

Mesh ToMesh(const nlohmann::ordered_json& vertices, std::string_view mode)
{
    Mesh mesh;
    mesh.kind = Assembler::KindOf(mode);
    for (const Json& array : vertices["arrays"])
        mesh.arrays.push_back({ArrayName(array), array.value("size", 1U), {}});
    Assembler assembler(mode, mesh);
    std::uint32_t row = 0;
    for (const Json& vertex : vertices["rows"]) {
        if (vertex.value("index", std::int64_t{0}) < 0) {
            assembler.Restart();
            continue;
        }
        bool isInside = true;
        for (std::size_t i = 0; i < mesh.arrays.size(); ++i) {
            const Json& values = vertex["values"][i];
            isInside = isInside && values.size() >= mesh.arrays[i].components;
            for (std::uint32_t k = 0; k < mesh.arrays[i].components; ++k) {
                const bool isNumber =
                    k < values.size() && values[k].is_number() && std::isfinite(values[k].get<float>());
                isInside = isInside && isNumber;
                mesh.arrays[i].values.push_back(isNumber ? values[k].get<float>() : 0);
            }
        }
        assembler.Vertex(isInside ? row : std::numeric_limits<std::uint32_t>::max());
        ++row;
    }
    assembler.Restart();
    return mesh;
}

std::string ToObj(const Mesh& mesh)
{
    const Mesh::Array* const positions = mesh.Positions();
    const Mesh::Array* const normals = mesh.FindArray({"norm"});
    const Mesh::Array* const textures = mesh.FindArray({"tex", "uv"});
    std::string text;
    if (!positions)
        return text;
    AddLines(text, "v", *positions, 3);
    if (textures)
        AddLines(text, "vt", *textures, std::min(textures->components, 2U));
    if (normals)
        AddLines(text, "vn", *normals, 3);
    const std::size_t corners = mesh.kind == Mesh::Kind::Triangles ? 3 : mesh.kind == Mesh::Kind::Lines ? 2 : 1;
    const char* const begin = corners == 3 ? "f" : corners == 2 ? "l" : "p";
    for (std::size_t i = 0; i + corners <= mesh.indices.size(); i += corners) {
        text += begin;
        for (std::size_t k = 0; k < corners; ++k) {
            const std::string number = std::to_string(mesh.indices[i + k] + 1);
            text += " " + number;
            if (corners == 3 && (textures || normals))
                text += "/" + (textures ? number : "") + (normals ? "/" + number : "");
        }
        text += "\n";
    }
    return text;
}

std::string ToGltf(const Mesh& mesh)
{
    constexpr int Unsigned = 5125;
    Json file = {{"asset", {{"version", "2.0"}, {"generator", "playback-inspect " PLAYBACK_VERSION}}}, {"scene", 0}};
    file["scenes"].push_back({{"nodes", {0}}});
    file["nodes"].push_back({{"mesh", 0}});
    for (const char* const list : {"meshes", "accessors", "bufferViews"})
        file[list] = Json::array();
    std::vector<std::uint8_t> buffer;
    Json attributes = Json::object();
    for (const Mesh::Array& array : mesh.arrays) {
        const std::string semantic = SemanticOf(mesh, array);
        attributes[semantic] = AddArray(file, buffer, array, semantic == "POSITION");
    }
    const std::size_t indices = AddAccessor(
        file, buffer, mesh.indices, {{"componentType", Unsigned}, {"count", mesh.indices.size()}, {"type", "SCALAR"}});
    Json primitive = {
        {"attributes", std::move(attributes)}, {"indices", indices}, {"mode", static_cast<int>(mesh.kind)}};
    file["meshes"][0]["primitives"].push_back(std::move(primitive));
    file["buffers"].push_back(
        {{"byteLength", buffer.size()}, {"uri", "data:application/octet-stream;base64," + Util::Base64(buffer)}});
    return file.dump(1, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace Inspect
