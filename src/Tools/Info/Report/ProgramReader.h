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
    /// Of the context that it was linked in.
    std::uint32_t context = 0;
    /// Counted from 1.
    std::uint32_t frame = 0;
    /// By glObjectLabel and its like, before it was linked or later.
    std::string label;
    std::vector<ShaderText> shaders;
};

/// Takes the place of a driver: collects the source of programs, each time that one is linked with another source.
class ProgramReader : public Data::GLNullAdapter {
public:
    /// Registers itself with the capture, which outlives it.
    explicit ProgramReader(Data::CaptureFile& capture) : m_capture(capture) { capture.SetAdapter(this); }

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
    void Process_glObjectLabel(std::uint32_t identifier, std::uint32_t name, std::int32_t length,
                               Data::PointerData* label) override;
    void Process_glObjectLabelKHR(std::uint32_t identifier, std::uint32_t name, std::int32_t length,
                                  Data::PointerData* label) override;
    void Process_glLabelObjectEXT(std::uint32_t type, std::uint32_t object, std::int32_t length,
                                  Data::PointerData* label) override;

private:
    /// Names of programs and shaders are those of a share group.
    struct Group {
        std::map<std::uint32_t, ShaderText> shaders;
        std::map<std::uint32_t, std::vector<std::uint32_t>> attached;
        std::map<std::uint32_t, std::string> labels;
        /// Numbers in m_programs by name.
        std::map<std::uint32_t, std::vector<std::size_t>> programs;
    };

    Group& Names() { return m_groups[m_capture.Context().Group().get()]; }
    /// Unless the share group had the same program before.
    void Add(std::uint32_t program, std::vector<ShaderText> shaders);

    Data::CaptureFile& m_capture;
    std::map<const void*, Group> m_groups;
    std::vector<ProgramText> m_programs;
};

} // namespace Tools
