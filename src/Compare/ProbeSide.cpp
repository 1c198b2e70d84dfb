#include "Compare/ProbeSide.h"

#include "Util/ImageFile.h"

namespace Compare {

using Json = nlohmann::ordered_json;

std::unique_ptr<ProbeSide> ProbeSide::Start(const Sides::Side& side, const std::string& capture, std::string& error)
{
    std::vector<std::string> command = {Sides::ProgramBesideThis("playback-probe")};
    for (const std::string& option : side.PlaybackOptions())
        command.push_back(option);
    command.push_back(capture);
    std::unique_ptr<ProbeSide> probe(new ProbeSide(side));
    probe->m_child = Sides::Child::Start(command, side.environment, error);
    return probe->m_child ? std::move(probe) : nullptr;
}

void ProbeSide::Ask(const Json& request)
{
    if (m_error.empty() && !m_child->Write(request.dump() + "\n"))
        Fail();
}

Json ProbeSide::Answer()
{
    if (!m_error.empty())
        return nullptr;
    const std::optional<std::string> line = m_child->ReadLine();
    Json answer = line ? Json::parse(*line, nullptr, false) : Json();
    if (!answer.is_object()) {
        Fail();
        return nullptr;
    }
    if (answer.contains("error")) {
        m_error = "side " + m_side.name + ": " + answer["error"].get<std::string>();
        return nullptr;
    }
    return answer;
}

Image ProbeSide::Pixels(std::size_t index)
{
    Ask(Json{{"do", "pixels"}, {"index", index}});
    const Json answer = Answer();
    Image image;
    if (!answer.is_object() || !answer.contains("components"))
        return image;
    image.kind = FindPixelKind(answer["components"].get<std::string>());
    image.width = answer["width"];
    image.height = answer["height"];
    image.data = m_child->ReadBytes(answer["bytes"]);
    return image;
}

bool ProbeSide::Put(std::size_t index, const std::vector<std::uint8_t>& data)
{
    Ask(Json{{"do", "put"}, {"index", index}});
    if (m_error.empty() && !m_child->Write({reinterpret_cast<const char*>(data.data()), data.size()}))
        Fail();
    const Json answer = Answer();
    return answer.is_object() && answer.value("isSame", false);
}

Image ProbeSide::Reference(std::size_t index)
{
    Ask(Json{{"do", "reference"}, {"index", index}});
    const Json answer = Answer();
    if (!answer.is_object())
        return {};
    std::optional<Util::Image> picture = Util::DecodePng(m_child->ReadBytes(answer["bytes"]));
    return picture ? FromPicture(std::move(*picture)) : Image();
}

void ProbeSide::Fail()
{
    m_child->CloseInput();
    const int status = m_child->Wait();
    if (status == static_cast<int>(Util::ExitStatus::Usage) || status == static_cast<int>(Util::ExitStatus::Unreadable))
        m_status = static_cast<Util::ExitStatus>(status);
    m_error = "side " + m_side.name + " (" + m_side.Description() + ") " +
              (m_child->WasTooSlow() ? "did not answer within the time limit"
                                     : "ended with status " + std::to_string(status)) +
              ": " + m_child->Messages();
    m_error.resize(m_error.find_last_not_of(": \n") + 1);
}

} // namespace Compare
