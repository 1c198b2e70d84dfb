// The vertices of a draw as files that programs for models read.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

namespace Inspect {

/// Vertices and what joins them.
struct Mesh {
    /// As OpenGL ES and glTF number them.
    enum class Kind : std::uint8_t { Points = 0, Lines = 1, Triangles = 4 };
    struct Array {
        std::string name;
        std::uint32_t components = 0;
        /// As many as vertices times components.
        std::vector<float> values;
    };
    Kind kind = Kind::Points;
    std::vector<Array> arrays;
    std::vector<std::uint32_t> indices;

    /// The array with the places; null without any.
    [[nodiscard]] const Array* Positions() const;
    /// The first one whose name has one of these in it, in any case; null without any.
    [[nodiscard]] const Array* FindArray(std::initializer_list<std::string_view> parts) const;
};

/// The name of one of the "arrays" of the request "vertices"; by its location where the shader has none.
[[nodiscard]] std::string ArrayName(const nlohmann::ordered_json& array);

/// From the arrays and rows of the request "vertices"; `mode` is "GL_TRIANGLE_STRIP" and the like. Primitives with a
/// vertex outside of its array are left out.
[[nodiscard]] Mesh ToMesh(const nlohmann::ordered_json& vertices, std::string_view mode);

/// Wavefront OBJ: places, normals and coordinates of textures, the arrays being known by their names.
[[nodiscard]] std::string ToObj(const Mesh& mesh);
/// glTF 2.0, whole in one file, with all arrays.
[[nodiscard]] std::string ToGltf(const Mesh& mesh);

} // namespace Inspect
