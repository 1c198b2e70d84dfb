#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "Data/Capture/CaptureFile.h"

namespace Tools {

/// A shader as it was when its program was linked.
struct ShaderText {
    std::uint32_t shader = 0;
    std::uint32_t type = 0;
    std::string source;
};

/// A program that was linked.
struct ProgramText {
    std::uint32_t program = 0;
    std::vector<ShaderText> shaders;
};

/// Takes the place of a driver: collects the source of programs, each time that one is linked with another source.
class ProgramReader : public Data::GLNullAdapter {
public:
    /// Registers itself with the capture, which outlives it.
    explicit ProgramReader(Data::CaptureFile& capture) { capture.SetAdapter(this); }

    [[nodiscard]] const std::vector<ProgramText>& Programs() const { return m_programs; }

    void Process_glCreateShader(std::uint32_t captured, std::uint32_t type) override;
    void Process_glShaderSource(std::uint32_t shader, std::int32_t count, Data::PointerData* string,
                                Data::PointerData* length) override;
    void Process_glAttachShader(std::uint32_t program, std::uint32_t shader) override;
    void Process_glDetachShader(std::uint32_t program, std::uint32_t shader) override;
    void Process_glLinkProgram(std::uint32_t program) override;
    void Process_glDeleteProgram(std::uint32_t program) override;
    void Process_glCreateShaderProgramv(std::uint32_t captured, std::uint32_t type, std::int32_t count,
                                        Data::PointerData* strings) override;

private:
    void Add(ProgramText program);

    std::map<std::uint32_t, ShaderText> m_shaders;
    std::map<std::uint32_t, std::vector<std::uint32_t>> m_attached;
    std::vector<ProgramText> m_programs;
};

} // namespace Tools
