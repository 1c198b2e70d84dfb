#include "Probe/Programs/ProgramVariant.h"

#include <algorithm>

#include "Probe/LiveGL.h"
#include "Probe/Programs/Blocks.h"

namespace Probe {

namespace {

std::string ShaderLog(GLuint shader)
{
    GLint length = 0;
    GL().glGetShaderiv(shader, GL_INFO_LOG_LENGTH, &length);
    std::string log(static_cast<std::size_t>(std::max(length, 0)), '\0');
    if (!log.empty())
        GL().glGetShaderInfoLog(shader, length, nullptr, log.data());
    log.resize(std::min(log.find('\0'), log.size()));
    return log.empty() ? "the shader does not compile" : log;
}

bool IsSeparable(GLuint program)
{
    return Core::GetVersion(GL()) >= 31 && Replay::ProgramParameter(program, GL_PROGRAM_SEPARABLE) != 0;
}

void Prepare(GLuint program, const ProgramVariant::Wish& wish)
{
    if (wish.original != 0) {
        for (const auto& [attribute, location] : Replay::ActiveAttributes(wish.original))
            if (location >= 0)
                GL().glBindAttribLocation(program, static_cast<GLuint>(location), attribute.name.c_str());
    }
    if (wish.isSeparable || (wish.original != 0 && wish.varyings.empty() && IsSeparable(wish.original)))
        GL().glProgramParameteri(program, GL_PROGRAM_SEPARABLE, GL_TRUE);
    std::vector<const GLchar*> names;
    for (const std::string& varying : wish.varyings)
        names.push_back(varying.c_str());
    if (!names.empty())
        GL().glTransformFeedbackVaryings(program, static_cast<GLsizei>(names.size()), names.data(),
                                         GL_INTERLEAVED_ATTRIBS);
}

std::vector<Replay::ActiveVariable> CommonUniforms(GLuint original, GLuint program)
{
    std::vector<Replay::ActiveVariable> common;
    const std::vector<Replay::ActiveVariable> all = Replay::ActiveUniforms(original);
    for (Replay::ActiveVariable uniform : Replay::ActiveUniforms(program)) {
        const auto same = std::ranges::find(all, uniform.name, &Replay::ActiveVariable::name);
        if (same == all.end() || same->type != uniform.type)
            continue;
        uniform.count = std::min(uniform.count, same->count);
        common.push_back(std::move(uniform));
    }
    return common;
}

std::vector<std::pair<unsigned int, unsigned int>> CommonBlocks(GLuint original, GLuint program)
{
    std::vector<std::pair<unsigned int, unsigned int>> common;
    GLuint own = 0;
    for (const UniformBlock& block : UniformBlocksOf(program)) {
        const GLuint index = GL().glGetUniformBlockIndex(original, block.name.c_str());
        if (index != GL_INVALID_INDEX)
            common.emplace_back(index, own);
        ++own;
    }
    return common;
}

} // namespace

ShaderText OneColour(const std::string& other)
{
    const std::size_t at = other.find("#version");
    const std::string version =
        at != std::string::npos ? other.substr(at, other.find_first_of("\r\n", at) - at) : std::string();
    if (version.empty() || version.find("100") != std::string::npos)
        return {GL_FRAGMENT_SHADER,
                "precision mediump float;\nvoid main() { gl_FragColor = vec4(1.0, 0.0, 1.0, 1.0); }\n"};
    return {GL_FRAGMENT_SHADER, version + "\nlayout(location = 0) out mediump vec4 colour;\n"
                                          "void main() { colour = vec4(1.0, 0.0, 1.0, 1.0); }\n"};
}

unsigned int ProgramVariant::Compile(const ShaderText& text, ProgramFault& fault)
{
    const GLuint shader = GL().glCreateShader(text.type);
    const auto length = static_cast<GLint>(text.source.size());
    const GLchar* const source = text.source.data();
    GLint isCompiled = GL_FALSE;
    if (shader != 0) {
        GL().glShaderSource(shader, 1, &source, &length);
        GL().glCompileShader(shader);
        GL().glGetShaderiv(shader, GL_COMPILE_STATUS, &isCompiled);
    }
    if (isCompiled)
        return shader;
    fault = {text.type, shader != 0 ? ShaderLog(shader) : "the driver has no such shaders"};
    GL().glDeleteShader(shader);
    return 0;
}

std::optional<ProgramVariant> ProgramVariant::Make(const Wish& wish, ProgramFault& fault)
{
    const GLuint program = GL().glCreateProgram();
    bool isComplete = program != 0;
    for (const ShaderText& text : wish.shaders) {
        const GLuint shader = isComplete ? Compile(text, fault) : 0;
        isComplete = shader != 0;
        if (!isComplete)
            break;
        GL().glAttachShader(program, shader);
        // Goes with the program.
        GL().glDeleteShader(shader);
    }
    if (isComplete) {
        Prepare(program, wish);
        GL().glLinkProgram(program);
        isComplete = Replay::IsLinked(program);
        if (!isComplete)
            fault = {0, Replay::ProgramLog(program)};
    }
    if (!isComplete) {
        GL().glDeleteProgram(program);
        return std::nullopt;
    }
    ProgramVariant variant;
    variant.m_program = program;
    variant.m_original = wish.original;
    if (wish.original != 0) {
        variant.m_uniforms = CommonUniforms(wish.original, program);
        variant.m_blocks = CommonBlocks(wish.original, program);
    }
    return variant;
}

void ProgramVariant::TakeValues() const
{
    for (const Replay::ActiveVariable& uniform : m_uniforms)
        if (const auto values = Replay::ValuesOf(m_original, uniform))
            Replay::SetValues(m_program, uniform, *values);
    for (const auto& [original, own] : m_blocks) {
        GLint binding = 0;
        GL().glGetActiveUniformBlockiv(m_original, original, GL_UNIFORM_BLOCK_BINDING, &binding);
        GL().glUniformBlockBinding(m_program, own, static_cast<GLuint>(binding));
    }
}

} // namespace Probe
