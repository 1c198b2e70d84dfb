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

/// Kinds of objects for labels: of glObjectLabel, and of glLabelObjectEXT.
constexpr std::uint32_t Program = 0x82E2;
constexpr std::uint32_t ProgramObjectEXT = 0x8B40;

} // namespace

void ProgramReader::Add(std::uint32_t program, std::vector<ShaderText> shaders)
{
    Group& names = Names();
    std::vector<std::size_t>& known = names.programs[program];
    const auto isSame = [&](std::size_t index) {
        return std::ranges::equal(m_programs[index].shaders, shaders, {}, &ShaderText::source, &ShaderText::source);
    };
    if (std::ranges::any_of(known, isSame))
        return;
    known.push_back(m_programs.size());
    m_programs.push_back({program, m_capture.GetFrameProcessor()->Calls().Client().ContextName(),
                          m_capture.GetCurrentFrame() + 1, names.labels[program], std::move(shaders)});
}

void ProgramReader::Process_glCreateShader(std::uint32_t captured, std::uint32_t type)
{
    Names().shaders[captured] = {captured, type, {}};
}

void ProgramReader::Process_glShaderSource(std::uint32_t shader, std::int32_t count, Data::PointerData* string,
                                           Data::PointerData* length)
{
    ShaderText& text = Names().shaders[shader];
    text.shader = shader;
    text.source = Join(count, *string, length);
}

void ProgramReader::Process_glAttachShader(std::uint32_t program, std::uint32_t shader)
{
    Names().attached[program].push_back(shader);
}

void ProgramReader::Process_glDetachShader(std::uint32_t program, std::uint32_t shader)
{
    std::erase(Names().attached[program], shader);
}

void ProgramReader::Process_glLinkProgram(std::uint32_t program)
{
    Group& names = Names();
    std::vector<ShaderText> shaders;
    for (const std::uint32_t shader : names.attached[program])
        shaders.push_back(names.shaders[shader]);
    Add(program, std::move(shaders));
}

void ProgramReader::Process_glDeleteProgram(std::uint32_t program)
{
    Names().attached.erase(program);
    Names().labels.erase(program);
}

void ProgramReader::Process_glCreateShaderProgramv(std::uint32_t captured, std::uint32_t type, std::int32_t count,
                                                   Data::PointerData* strings)
{
    Add(captured, {{0, type, Join(count, *strings, nullptr)}});
}

void ProgramReader::Process_glObjectLabel(std::uint32_t identifier, std::uint32_t name, std::int32_t length,
                                          Data::PointerData* label)
{
    if (identifier != Program && identifier != ProgramObjectEXT)
        return;
    Group& names = Names();
    std::string& text = names.labels[name];
    const auto* const characters = label->HasData() ? label->As<const char>() : nullptr;
    // A label of the EXT function with length 0 ends with its zero byte too.
    if (characters)
        text.assign(characters, length > 0 ? static_cast<std::size_t>(std::min(length, label->GetCount()))
                                           : strnlen(characters, static_cast<std::size_t>(label->GetCount())));
    else
        text.clear();
    if (const auto known = names.programs.find(name); known != names.programs.end() && !known->second.empty())
        m_programs[known->second.back()].label = text;
}

void ProgramReader::Process_glObjectLabelKHR(std::uint32_t identifier, std::uint32_t name, std::int32_t length,
                                             Data::PointerData* label)
{
    Process_glObjectLabel(identifier, name, length, label);
}

void ProgramReader::Process_glLabelObjectEXT(std::uint32_t type, std::uint32_t object, std::int32_t length,
                                             Data::PointerData* label)
{
    Process_glObjectLabel(type, object, length, label);
}

} // namespace Tools
