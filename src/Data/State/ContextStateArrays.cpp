// The part of ContextState that is about the client arrays of OpenGL ES 1.1.
#include <algorithm>
#include <iterator>

#include "Data/GLEnums.h"
#include "Data/State/ContextState.h"
#include "Interfaces/Data.h"

namespace Data {

namespace {

constexpr std::uint32_t Texture0 = 0x84C0;

/// By place: GL_VERTEX_ARRAY and its like.
constexpr std::uint32_t ArrayNames[] = {0x8074, 0x8075, 0x8076, 0x8B9C, 0x8844, 0x86AD};

} // namespace

std::uint32_t PlaceOfArray(std::uint32_t array)
{
    const auto* const found = std::ranges::find(ArrayNames, array);
    return found != std::end(ArrayNames) ? static_cast<std::uint32_t>(found - ArrayNames) : MaxVertexAttribs;
}

bool IsFirstVersion(const void* attribs)
{
    constexpr std::int32_t ClientVersion = 0x3098;
    std::int32_t version = 1;
    for (const auto* pair = static_cast<const std::int32_t*>(attribs); pair && pair[0] != Enum::EglNone; pair += 2)
        if (pair[0] == ClientVersion)
            version = pair[1];
    return version == 1;
}

void ContextState::SetClientActiveTexture(std::uint32_t texture)
{
    if (m_hasFixedFunctions && texture >= Texture0)
        m_clientUnit = texture - Texture0;
}

void ContextState::SetArrayEnabled(std::uint32_t array, bool isEnabled)
{
    if (m_hasFixedFunctions)
        EnableAttrib(PlaceOfArray(array), isEnabled);
}

void ContextState::SetTexcoordArrayEnabled(std::uint32_t unit, bool isEnabled)
{
    if (m_hasFixedFunctions && unit < MaxVertexAttribs)
        EnableAttrib(ClientArray::TexCoord + unit, isEnabled);
}

void ContextState::SetArray(std::uint32_t array, std::uint32_t buffer, std::uint64_t pointer, std::int32_t stride,
                            std::int32_t size, std::uint32_t type)
{
    ChangeArray(PlaceOfArray(array), buffer, pointer, stride, size, type);
}

void ContextState::SetTexcoordArray(std::uint32_t unit, std::uint32_t buffer, std::uint64_t pointer,
                                    std::int32_t stride, std::int32_t size, std::uint32_t type)
{
    if (unit < MaxVertexAttribs)
        ChangeArray(ClientArray::TexCoord + unit, buffer, pointer, stride, size, type);
}

void ContextState::ChangeArray(std::uint32_t place, std::uint32_t buffer, std::uint64_t pointer, std::int32_t stride,
                               std::int32_t size, std::uint32_t type)
{
    const std::uint32_t bytes = VertexElementBytes(size, type);
    if (!m_hasFixedFunctions || place >= MaxVertexAttribs || stride < 0 || bytes == 0 || !AcceptsAttribPointer(pointer))
        return;
    VertexAttribState& attrib = m_vertexArray->attribs[place];
    attrib.size = size;
    attrib.type = type;
    ChangeBinding(place, buffer, pointer, stride != 0 ? stride : static_cast<std::int32_t>(bytes));
}

} // namespace Data
