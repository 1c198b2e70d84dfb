#include "Inspect/Replay/Edit.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>

#include "Inspect/Error.h"
#include "Inspect/Inspector.h"
#include "Util/Spelling.h"

#include <GLES3/gl32.h>

namespace Inspect {

namespace {

constexpr std::string_view ShaderKind = "shader";
constexpr std::string_view Experiments[] = {"skip", "scissor", "textures", "simple", "no-blending"};

struct Stage {
    std::string_view name;
    std::string_view type;
    std::uint32_t value;
};
constexpr Stage Stages[] = {
    {"vertex", "GL_VERTEX_SHADER", GL_VERTEX_SHADER},
    {"fragment", "GL_FRAGMENT_SHADER", GL_FRAGMENT_SHADER},
    {"compute", "GL_COMPUTE_SHADER", GL_COMPUTE_SHADER},
    {"geometry", "GL_GEOMETRY_SHADER", GL_GEOMETRY_SHADER},
    {"tessellation-control", "GL_TESS_CONTROL_SHADER", GL_TESS_CONTROL_SHADER},
    {"tessellation-evaluation", "GL_TESS_EVALUATION_SHADER", GL_TESS_EVALUATION_SHADER},
};

std::uint32_t ReadStage(const std::string& text)
{
    std::vector<std::string_view> names;
    for (const Stage& stage : Stages) {
        if (text == stage.name || text == stage.type)
            return stage.value;
        names.push_back(stage.name);
    }
    throw RequestError("there are no " + text + " shaders" + Util::Suggestion(text, names));
}

/// Without names for another type.
Stage StageOf(std::uint32_t type)
{
    const auto* const stage = std::ranges::find(Stages, type, &Stage::value);
    return stage != std::end(Stages) ? *stage : Stage{{}, {}, type};
}

void SetPlace(Inspector& inspector, Edit& edit, const std::string& at)
{
    edit.place = inspector.Find(at);
    edit.at = inspector.NameOf(*edit.place);
}

void CheckKind(const std::string& kind)
{
    std::vector<std::string_view> kinds(std::begin(Experiments), std::end(Experiments));
    kinds.push_back(ShaderKind);
    if (std::ranges::find(kinds, kind) == kinds.end())
        throw RequestError("there is no edit \"" + kind + "\"" + Util::Suggestion(kind, kinds));
}

/// The lines that a log of compiling names, with what it says there.
Json ErrorsIn(const std::string& log)
{
    // "0:12(5): error: ...", "ERROR: 0:12: ...", "0(12) : error ...": the number of the source, then that of the line.
    static const std::regex place(R"(^\s*(?:[A-Za-z]+:\s*)?\d+(?::(\d+)|\((\d+)\)))");
    Json errors = Json::array();
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        std::smatch match;
        if (!std::regex_search(line, match, place))
            continue;
        if (const auto number = ParseNumber((match[1].matched ? match[1] : match[2]).str()))
            errors.push_back({{"line", *number}, {"text", line}});
    }
    return errors;
}

} // namespace

std::string Edit::Text() const
{
    if (kind != ShaderKind)
        return kind + (place ? " at " + at : "");
    return std::string(StageOf(type).name) + " shader of program " + std::to_string(program);
}

std::vector<Edit> ReadEdits(Inspector& inspector, const std::string& body)
{
    const Json json = Json::parse(body, nullptr, false);
    if (!json.is_object() || !json.contains("edits") || !json["edits"].is_array())
        throw RequestError("expected {\"edits\": [...]}");
    std::vector<Edit> edits;
    try {
        for (const Json& one : json["edits"]) {
            Edit edit = {one.value("kind", "")};
            CheckKind(edit.kind);
            if (edit.kind == ShaderKind) {
                edit.program = one.value("program", 0U);
                edit.type = ReadStage(one.value("type", ""));
                edit.source = one.value("source", "");
            } else if (const std::string at = one.value("at", ""); !at.empty()) {
                SetPlace(inspector, edit, at);
            }
            edits.push_back(std::move(edit));
        }
    } catch (const Json::exception& failure) {
        throw RequestError(std::string("an edit is not as it should be: ") + failure.what());
    }
    return edits;
}

Edit ReadEdit(Inspector& inspector, const std::string& text)
{
    static const std::regex shader(R"((\d+):([^=]+)=(.+))");
    std::smatch match;
    Edit edit;
    if (!std::regex_match(text, match, shader)) {
        const std::size_t at = text.find('@');
        edit.kind = text.substr(0, at);
        CheckKind(edit.kind);
        if (edit.kind == ShaderKind)
            throw RequestError("a shader is given as PROGRAM:STAGE=FILE");
        if (at != std::string::npos)
            SetPlace(inspector, edit, text.substr(at + 1));
        return edit;
    }
    edit.kind = ShaderKind;
    edit.program = ParseNumber(match[1].str()).value_or(0);
    edit.type = ReadStage(match[2].str());
    std::ifstream file(match[3].str(), std::ios::binary);
    if (!file)
        throw RequestError("cannot read " + match[3].str());
    edit.source.assign(std::istreambuf_iterator<char>(file), {});
    return edit;
}

Json ToJson(const std::vector<Edit>& edits)
{
    Json list = Json::array();
    for (const Edit& edit : edits) {
        Json json = {{"kind", edit.kind}};
        if (edit.kind == ShaderKind) {
            json["program"] = edit.program;
            json["type"] = StageOf(edit.type).type;
            json["source"] = edit.source;
        } else if (edit.place) {
            json["at"] = edit.at;
        }
        list.push_back(std::move(json));
    }
    return list;
}

Json RequestFor(const std::vector<Edit>& edits, std::uint32_t frame)
{
    // That of another frame is at no call of this one.
    constexpr std::uint32_t None = ~0U;
    Json list = ToJson(edits);
    for (std::size_t i = 0; i < edits.size(); ++i)
        if (edits[i].kind == ShaderKind)
            list[i]["type"] = edits[i].type;
        else if (edits[i].place)
            list[i]["call"] = edits[i].place->frame == frame ? edits[i].place->call : None;
    return {{"do", "edits"}, {"edits", std::move(list)}};
}

void CheckAnswer(const std::vector<Edit>& edits, const Json& answer)
{
    const Json faults = answer.value("faults", Json::array());
    if (faults.empty())
        return;
    const Json& fault = faults.front();
    const auto index = fault.value("edit", std::size_t{0});
    const std::string log = fault.value("log", "");
    const Edit edit = index < edits.size() ? edits[index] : Edit();
    throw RequestError(
        edit.Text() + ": " + log,
        {{"edit", index}, {"type", StageOf(fault.value("type", 0U)).type}, {"log", log}, {"errors", ErrorsIn(log)}});
}

} // namespace Inspect
