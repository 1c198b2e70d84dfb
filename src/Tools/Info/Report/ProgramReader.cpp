#include "Tools/Info/Report/ProgramReader.h"

#include <algorithm>
#include <cstring>

namespace Tools {

namespace {

std::string Join(std::int32_t count, const Data::PointerData& strings, const Data::PointerData* lengths)
{
    std::string text;
    const auto* const pieces = strings.HasData() ? strings.As<const char* const>() : nullptr;
    const auto* const sizes = lengths && lengths->HasData() ? lengths->As<const std::int32_t>() : nullptr;
    for (std::int32_t i = 0; pieces && i < std::min(count, strings.GetCount()); ++i) {
        if (pieces[i])
            text.append(pieces[i],
                        sizes && sizes[i] >= 0 ? static_cast<std::size_t>(sizes[i]) : std::strlen(pieces[i]));
    }
    return text;
}

bool IsSame(const ProgramText& a, const ProgramText& b)
{
    return a.program == b.program &&
           std::ranges::equal(a.shaders, b.shaders, {}, &ShaderText::source, &ShaderText::source);
}

} // namespace

void ProgramReader::Add(ProgramText program)
{
    if (std::ranges::none_of(m_programs, [&](const ProgramText& known) { return IsSame(known, program); }))
        m_programs.push_back(std::move(program));
}

void ProgramReader::Process_glCreateShader(std::uint32_t captured, std::uint32_t type)
{
    m_shaders[captured] = {captured, type, {}};
}

void ProgramReader::Process_glShaderSource(std::uint32_t shader, std::int32_t count, Data::PointerData* string,
                                           Data::PointerData* length)
{
    m_shaders[shader].shader = shader;
    m_shaders[shader].source = Join(count, *string, length);
}

void ProgramReader::Process_glAttachShader(std::uint32_t program, std::uint32_t shader)
{
    m_attached[program].push_back(shader);
}

void ProgramReader::Process_glDetachShader(std::uint32_t program, std::uint32_t shader)
{
    std::erase(m_attached[program], shader);
}

void ProgramReader::Process_glLinkProgram(std::uint32_t program)
{
    ProgramText text = {program, {}};
    for (const std::uint32_t shader : m_attached[program])
        text.shaders.push_back(m_shaders[shader]);
    Add(std::move(text));
}

void ProgramReader::Process_glDeleteProgram(std::uint32_t program)
{
    m_attached.erase(program);
}

void ProgramReader::Process_glCreateShaderProgramv(std::uint32_t captured, std::uint32_t type, std::int32_t count,
                                                   Data::PointerData* strings)
{
    Add({captured, {{0, type, Join(count, *strings, nullptr)}}});
}

} // namespace Tools
