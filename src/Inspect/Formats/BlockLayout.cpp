#include "Inspect/Formats/BlockLayout.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "Inspect/Error.h"
#include "Util/PixelTransfer.h"

namespace Inspect {

namespace {

std::uint32_t RoundUp(std::uint32_t value, std::uint32_t alignment)
{
    return (value + alignment - 1) / alignment * alignment;
}

class LayoutBuilder {
public:
    LayoutBuilder(bool isPacked, bool isStd140, std::size_t bytes)
        : m_isPacked(isPacked), m_isStd140(isStd140), m_bytes(bytes)
    {
    }

    BlockLayout Build(const std::vector<BlockMember>& members)
    {
        const BlockMember& only = members.front();
        if (members.size() == 1 && only.count == BlockMember::Unsized) {
            BlockMember element = only;
            element.count = BlockMember::NoArray;
            // The name of the array says nothing in a table of its elements, and that of a simple element all.
            if (element.members)
                AddMembers(*element.members, 0, "");
            else
                AddOne(element, 0, element.name);
            m_layout.stride = SizeOf(element).stride;
        } else {
            AddMembers(members, 0, "");
            m_layout.stride = members.back().count == BlockMember::Unsized ? 0 : OfStructure(members).stride;
        }
        return std::move(m_layout);
    }

private:
    struct Size {
        std::uint32_t bytes = 0;
        std::uint32_t alignment = 1;
        /// From one element of an array to the next.
        std::uint32_t stride = 0;
    };

    [[nodiscard]] Size OfVector(Scalar scalar, std::uint32_t rows) const
    {
        const std::uint32_t bytes = BytesOf(scalar) * rows;
        if (m_isPacked)
            return {bytes, 1, bytes};
        const std::uint32_t alignment = BytesOf(scalar) * (rows == 3 ? 4 : rows);
        const std::uint32_t rounded = m_isStd140 ? RoundUp(alignment, 16) : alignment;
        return {bytes, alignment, RoundUp(bytes, rounded)};
    }

    [[nodiscard]] Size OfStructure(const std::vector<BlockMember>& members) const
    {
        Size all;
        Place(members, [&](const BlockMember& member, std::uint32_t offset) {
            const Size size = SizeOf(member);
            all.bytes = std::max(all.bytes, offset + size.bytes);
            all.alignment = std::max(all.alignment, size.alignment);
        });
        if (m_isStd140)
            all.alignment = RoundUp(all.alignment, 16);
        all.bytes = all.stride = RoundUp(all.bytes, all.alignment);
        return all;
    }

    [[nodiscard]] std::uint32_t MatrixStride(const BlockMember& member) const
    {
        return OfVector(member.type.scalar, member.isRowMajor ? member.type.columns : member.type.rows).stride;
    }

    /// Of one element, without the array.
    [[nodiscard]] Size OfElement(const BlockMember& member) const
    {
        if (member.members)
            return OfStructure(*member.members);
        if (member.type.columns != 0) {
            const std::uint32_t stride = MatrixStride(member);
            const std::uint32_t bytes = stride * (member.isRowMajor ? member.type.rows : member.type.columns);
            return {bytes, m_isPacked ? 1 : stride, bytes};
        }
        return OfVector(member.type.scalar, member.type.rows);
    }

    [[nodiscard]] Size SizeOf(const BlockMember& member) const
    {
        Size size = OfElement(member);
        if (member.count == BlockMember::NoArray)
            return size;
        if (m_isStd140)
            size.alignment = RoundUp(size.alignment, 16);
        const std::uint64_t bytes =
            member.count == BlockMember::Unsized ? 0 : std::uint64_t{size.stride} * member.count;
        if (bytes > Most)
            throw RequestError(member.name + " is larger than any buffer");
        size.bytes = static_cast<std::uint32_t>(bytes);
        return size;
    }

    /// Tells of each member and its offset.
    template <class Visit> void Place(const std::vector<BlockMember>& members, Visit visit) const
    {
        std::uint64_t at = 0;
        for (const BlockMember& member : members) {
            const Size size = SizeOf(member);
            at = member.offset ? *member.offset : (at + size.alignment - 1) / size.alignment * size.alignment;
            if (at + size.bytes > Most)
                throw RequestError(member.name + " lies outside of any buffer");
            visit(member, static_cast<std::uint32_t>(at));
            at += size.bytes;
        }
    }

    void AddMembers(const std::vector<BlockMember>& members, std::uint32_t base, const std::string& prefix)
    {
        Place(
            members,
            [&](const BlockMember& member, std::uint32_t offset) {
                const std::string name = prefix.empty() ? member.name : prefix + "." + member.name;
                if (member.count == BlockMember::NoArray)
                    return AddOne(member, base + offset, name);
                const std::uint32_t stride = OfElement(member).stride;
                const std::size_t first = std::size_t{base} + offset;
                const std::size_t count = member.count != BlockMember::Unsized ? member.count
                                          : m_bytes > first ? (m_bytes - first) / std::max(stride, 1U)
                                                            : 0;
                for (std::size_t i = 0; i < count && !m_layout.isCut; ++i)
                    AddOne(member, static_cast<std::uint32_t>(first + i * stride),
                           name + "[" + std::to_string(i) + "]");
            });
    }

    void AddOne(const BlockMember& member, std::uint32_t offset, const std::string& name)
    {
        if (m_layout.leaves.size() >= MostLeaves)
            m_layout.isCut = true;
        else if (member.members)
            AddMembers(*member.members, offset, name);
        else
            m_layout.leaves.push_back(
                {name, member.type, offset, member.type.columns != 0 ? MatrixStride(member) : 0, member.isRowMajor});
    }

    static constexpr std::uint64_t Most = std::uint64_t{1} << 30;

    bool m_isPacked;
    bool m_isStd140;
    std::size_t m_bytes;
    BlockLayout m_layout;
};

template <class T> T Read(const std::uint8_t* at)
{
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

/// What JSON has no number for comes as text.
Json FloatJson(float value)
{
    if (std::isfinite(value))
        return value;
    return std::isnan(value) ? "NaN" : value < 0 ? "-infinite" : "infinite";
}

Json ScalarJson(Scalar scalar, const std::uint8_t* at)
{
    switch (scalar) {
    case Scalar::Float:
        return FloatJson(Read<float>(at));
    case Scalar::Int:
        return Read<std::int32_t>(at);
    case Scalar::Unsigned:
        return Read<std::uint32_t>(at);
    case Scalar::Bool:
        return Read<std::uint32_t>(at) != 0;
    case Scalar::Half:
        return FloatJson(static_cast<float>(Util::FromHalf(Read<std::uint16_t>(at))));
    case Scalar::Int16:
        return Read<std::int16_t>(at);
    case Scalar::Unsigned16:
        return Read<std::uint16_t>(at);
    case Scalar::Snorm16:
        return std::max(static_cast<float>(Read<std::int16_t>(at)) / 32767.0F, -1.0F);
    case Scalar::Unorm16:
        return static_cast<float>(Read<std::uint16_t>(at)) / 65535.0F;
    case Scalar::Int8:
        return Read<std::int8_t>(at);
    case Scalar::Unsigned8:
        return Read<std::uint8_t>(at);
    case Scalar::Snorm8:
        return std::max(static_cast<float>(Read<std::int8_t>(at)) / 127.0F, -1.0F);
    case Scalar::Unorm8:
        return static_cast<float>(Read<std::uint8_t>(at)) / 255.0F;
    case Scalar::Fixed:
        return static_cast<double>(Read<std::int32_t>(at)) / 65536.0;
    }
    return nullptr;
}

} // namespace

BlockLayout LayOut(const BlockDeclaration& declaration, std::string_view layout, std::size_t bytes)
{
    if (layout != "std140" && layout != "std430" && layout != "packed")
        throw RequestError("layout needs std140, std430 or packed, found \"" + std::string(layout) + "\"");
    return LayoutBuilder(layout == "packed", layout == "std140", bytes).Build(declaration.members);
}

Json ValuesOf(const BlockLeaf& leaf, std::span<const std::uint8_t> row)
{
    const std::uint32_t scalar = BytesOf(leaf.type.scalar);
    Json values = Json::array();
    for (std::uint32_t column = 0; column < std::max(leaf.type.columns, 1U); ++column) {
        for (std::uint32_t i = 0; i < leaf.type.rows; ++i) {
            const std::uint64_t at = leaf.isRowMajor ? std::uint64_t{i} * leaf.matrixStride + column * scalar
                                                     : std::uint64_t{column} * leaf.matrixStride + i * scalar;
            if (leaf.offset + at + scalar > row.size())
                return Json::array();
            values.push_back(ScalarJson(leaf.type.scalar, row.data() + leaf.offset + at));
        }
    }
    return values;
}

} // namespace Inspect
