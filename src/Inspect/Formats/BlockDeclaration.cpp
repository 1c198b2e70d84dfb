#include "Inspect/Formats/BlockDeclaration.h"

#include <algorithm>
#include <cctype>
#include <map>

#include "Inspect/Error.h"
#include "Inspect/Place.h"
#include "Util/Spelling.h"

namespace Inspect {

namespace {

struct ScalarDescription {
    Scalar scalar;
    const char* name;
    std::uint32_t bytes;
    /// What vectors begin with.
    const char* vector = nullptr;
};
constexpr ScalarDescription Scalars[] = {
    {Scalar::Float, "float", 4, "vec"}, {Scalar::Int, "int", 4, "ivec"}, {Scalar::Unsigned, "uint", 4, "uvec"},
    {Scalar::Bool, "bool", 4, "bvec"},  {Scalar::Half, "half", 2},       {Scalar::Int16, "int16", 2},
    {Scalar::Unsigned16, "uint16", 2},  {Scalar::Snorm16, "snorm16", 2}, {Scalar::Unorm16, "unorm16", 2},
    {Scalar::Int8, "int8", 1},          {Scalar::Unsigned8, "uint8", 1}, {Scalar::Snorm8, "snorm8", 1},
    {Scalar::Unorm8, "unorm8", 1},      {Scalar::Fixed, "fixed", 4},
};

const ScalarDescription& Describe(Scalar scalar)
{
    return *std::ranges::find(Scalars, scalar, &ScalarDescription::scalar);
}

/// "ivec" of "ivec3", "int8x" of "int8x3".
std::string VectorPrefix(const ScalarDescription& scalar)
{
    return scalar.vector ? scalar.vector : std::string(scalar.name) + "x";
}

/// "2" to "4".
std::uint32_t Digit(std::string_view text)
{
    return text.size() == 1 && text[0] >= '2' && text[0] <= '4' ? static_cast<std::uint32_t>(text[0] - '0') : 0;
}

struct Token {
    std::string_view text;
    std::size_t at = 0;
};

/// Words, numbers and marks; comments and preprocessor lines are left out.
class Tokens {
public:
    explicit Tokens(std::string_view text) : m_text(text) { Advance(); }

    [[nodiscard]] const Token& Next() const { return m_next; }
    [[nodiscard]] bool Is(std::string_view text) const { return m_next.text == text; }
    [[nodiscard]] bool IsEnd() const { return m_next.text.empty(); }
    Token Take()
    {
        const Token token = m_next;
        Advance();
        return token;
    }
    bool TakeIf(std::string_view text) { return Is(text) && (Advance(), true); }
    void Expect(std::string_view text)
    {
        if (!TakeIf(text))
            Fail(m_next, "expected \"" + std::string(text) + "\"");
    }
    std::string Name()
    {
        if (m_next.text.empty() ||
            (std::isalpha(static_cast<unsigned char>(m_next.text[0])) == 0 && m_next.text[0] != '_'))
            Fail(m_next, "expected a name");
        return std::string(Take().text);
    }
    std::uint32_t Number()
    {
        const std::optional<std::uint32_t> number = ParseNumber(m_next.text);
        if (!number)
            Fail(m_next, "expected a number");
        Advance();
        return *number;
    }
    [[noreturn]] void Fail(const Token& token, const std::string& what, const std::string& more = {}) const
    {
        const std::string_view before = m_text.substr(0, token.at);
        const auto line = std::ranges::count(before, '\n') + 1;
        const std::size_t column = token.at - (before.rfind('\n') + 1) + 1;
        throw RequestError("line " + std::to_string(line) + ", column " + std::to_string(column) + ": " + what +
                           ", found " + (token.text.empty() ? "the end" : "\"" + std::string(token.text) + "\"") +
                           more);
    }

private:
    void SkipBlanks()
    {
        for (;;) {
            while (m_at < m_text.size() && std::isspace(static_cast<unsigned char>(m_text[m_at])) != 0)
                ++m_at;
            const std::string_view rest = m_text.substr(m_at);
            if (rest.starts_with("//") || rest.starts_with('#'))
                m_at = std::min(m_text.find('\n', m_at), m_text.size());
            else if (rest.starts_with("/*"))
                m_at = m_text.find("*/", m_at) == std::string_view::npos ? m_text.size() : m_text.find("*/", m_at) + 2;
            else
                return;
        }
    }

    void Advance()
    {
        SkipBlanks();
        const std::size_t begin = m_at;
        const auto isWord = [this] {
            return m_at < m_text.size() &&
                   (std::isalnum(static_cast<unsigned char>(m_text[m_at])) != 0 || m_text[m_at] == '_');
        };
        while (isWord())
            ++m_at;
        if (m_at == begin && m_at < m_text.size())
            ++m_at;
        m_next = {m_text.substr(begin, m_at - begin), begin};
    }

    std::string_view m_text;
    std::size_t m_at = 0;
    Token m_next;
};

class DeclarationParser {
public:
    explicit DeclarationParser(std::string_view text) : m_tokens(text) {}

    BlockDeclaration Parse()
    {
        BlockDeclaration declaration;
        while (!m_tokens.IsEnd())
            Statement(declaration.members, declaration.layout, 0);
        if (declaration.members.empty())
            m_tokens.Fail(m_tokens.Next(), "expected a member such as \"vec3 position;\"");
        return declaration;
    }

private:
    struct Qualifiers {
        std::optional<std::uint32_t> offset;
        std::string layout;
        bool isRowMajor = false;
        /// "uniform" or "buffer" was among them.
        bool isBlock = false;
    };

    Qualifiers TakeQualifiers()
    {
        constexpr std::string_view Ignored[] = {"highp",    "mediump",  "lowp",  "readonly", "writeonly", "coherent",
                                                "volatile", "restrict", "const", "in",       "attribute", "flat"};
        Qualifiers all;
        for (;;)
            if (m_tokens.TakeIf("layout"))
                TakeLayout(all);
            else if (m_tokens.TakeIf("uniform") || m_tokens.TakeIf("buffer"))
                all.isBlock = true;
            else if (std::ranges::find(Ignored, m_tokens.Next().text) != std::end(Ignored))
                m_tokens.Take();
            else
                return all;
    }

    void TakeLayout(Qualifiers& all)
    {
        m_tokens.Expect("(");
        do {
            const std::string name = m_tokens.Name();
            const std::optional<std::uint32_t> number =
                m_tokens.TakeIf("=") ? std::optional(m_tokens.Number()) : std::nullopt;
            if (name == "offset")
                all.offset = number;
            else if (name == "row_major")
                all.isRowMajor = true;
            else if (name == "std140" || name == "std430" || name == "packed")
                all.layout = name;
        } while (m_tokens.TakeIf(","));
        m_tokens.Expect(")");
    }

    void Statement(std::vector<BlockMember>& members, std::string& layout, int depth)
    {
        constexpr int MostDepth = 16;
        const Qualifiers qualifiers = TakeQualifiers();
        if (!qualifiers.layout.empty())
            layout = qualifiers.layout;
        if (m_tokens.TakeIf(";"))
            return;
        if (depth >= MostDepth)
            m_tokens.Fail(m_tokens.Next(), "expected less structures inside of structures");
        if (m_tokens.TakeIf("struct"))
            return Structure(members, qualifiers, depth);
        const Token type = m_tokens.Next();
        std::string name = m_tokens.Name();
        if (qualifiers.isBlock && m_tokens.TakeIf("{"))
            return Block(members, qualifiers, layout, depth);
        BlockMember member = {.offset = qualifiers.offset, .isRowMajor = qualifiers.isRowMajor};
        if (const auto known = m_structures.find(name); known != m_structures.end())
            member.members = known->second;
        else if (const auto basic = BlockType::Parse(name))
            member.type = *basic;
        else
            m_tokens.Fail(type, "expected a type", Util::Suggestion(name, CommonTypes));
        Names(members, member);
    }

    /// The members of a block count as if they stood alone; a name of it is not needed.
    void Block(std::vector<BlockMember>& members, const Qualifiers& qualifiers, std::string& layout, int depth)
    {
        const std::size_t first = members.size();
        while (!m_tokens.TakeIf("}"))
            Statement(members, layout, depth + 1);
        for (std::size_t i = first; i < members.size(); ++i)
            members[i].isRowMajor |= qualifiers.isRowMajor;
        if (!m_tokens.Is(";"))
            m_tokens.Name();
        m_tokens.Expect(";");
    }

    void Structure(std::vector<BlockMember>& members, const Qualifiers& qualifiers, int depth)
    {
        const std::string name = m_tokens.Is("{") ? std::string() : m_tokens.Name();
        m_tokens.Expect("{");
        auto structure = std::make_shared<std::vector<BlockMember>>();
        std::string layout;
        while (!m_tokens.TakeIf("}"))
            Statement(*structure, layout, depth + 1);
        std::size_t leaves = 0;
        for (const BlockMember& member : *structure)
            leaves += member.members ? m_leaves[member.members.get()] : 1;
        if (leaves > MostLeaves)
            m_tokens.Fail(m_tokens.Next(), "expected no more than " + std::to_string(MostLeaves) + " members");
        m_leaves[structure.get()] = leaves;
        if (structure->empty())
            m_tokens.Fail(m_tokens.Next(), "expected a member of the structure");
        if (structure->back().count == BlockMember::Unsized)
            m_tokens.Fail(m_tokens.Next(), "expected a size of the structure's array");
        if (!name.empty())
            m_structures[name] = structure;
        if (!m_tokens.TakeIf(";"))
            Names(members, {.members = structure, .offset = qualifiers.offset, .isRowMajor = qualifiers.isRowMajor});
    }

    /// One or more of a type.
    void Names(std::vector<BlockMember>& members, BlockMember member)
    {
        do {
            const Token at = m_tokens.Next();
            member.name = m_tokens.Name();
            member.count = BlockMember::NoArray;
            if (m_tokens.TakeIf("[")) {
                member.count = m_tokens.Is("]") ? BlockMember::Unsized : m_tokens.Number();
                if (member.count == 0)
                    m_tokens.Fail(at, "expected an array with elements");
                m_tokens.Expect("]");
            }
            if (!members.empty() && members.back().count == BlockMember::Unsized)
                m_tokens.Fail(at, "expected nothing after an array without a size");
            members.push_back(member);
        } while (m_tokens.TakeIf(","));
        m_tokens.Expect(";");
    }

    static const std::vector<std::string_view> CommonTypes;

    Tokens m_tokens;
    std::map<std::string, std::shared_ptr<const std::vector<BlockMember>>, std::less<>> m_structures;
    /// Members of each structure and of those in it.
    std::map<const std::vector<BlockMember>*, std::size_t> m_leaves;
};

const std::vector<std::string_view> DeclarationParser::CommonTypes = {
    "float", "int",    "uint",   "bool",  "vec2",   "vec3",    "vec4",    "ivec2", "ivec3",
    "ivec4", "uvec2",  "uvec3",  "uvec4", "mat2",   "mat3",    "mat4",    "half",  "int8",
    "uint8", "unorm8", "snorm8", "int16", "uint16", "unorm16", "snorm16", "fixed", "struct"};

} // namespace

std::uint32_t BytesOf(Scalar scalar)
{
    return Describe(scalar).bytes;
}

const char* NameOf(Scalar scalar)
{
    return Describe(scalar).name;
}

std::optional<BlockType> BlockType::Parse(std::string_view name)
{
    if (name.starts_with("mat")) {
        const std::string_view size = name.substr(3);
        const std::uint32_t columns = Digit(size.substr(0, 1));
        const std::uint32_t rows = size.size() == 1                     ? columns
                                   : size.size() == 3 && size[1] == 'x' ? Digit(size.substr(2))
                                                                        : 0;
        return columns != 0 && rows != 0 ? std::optional(BlockType{Scalar::Float, rows, columns}) : std::nullopt;
    }
    for (const ScalarDescription& one : Scalars) {
        if (name == one.name)
            return BlockType{one.scalar};
        for (const std::string& prefix : {VectorPrefix(one), std::string(one.name) + "x"})
            if (const std::uint32_t rows = name.starts_with(prefix) ? Digit(name.substr(prefix.size())) : 0; rows != 0)
                return BlockType{one.scalar, rows};
    }
    return std::nullopt;
}

std::string BlockType::Text() const
{
    if (columns != 0)
        return "mat" + std::to_string(columns) + (columns == rows ? "" : "x" + std::to_string(rows));
    return rows == 1 ? NameOf(scalar) : VectorPrefix(Describe(scalar)) + std::to_string(rows);
}

BlockDeclaration ParseDeclaration(std::string_view text)
{
    return DeclarationParser(text).Parse();
}

} // namespace Inspect
