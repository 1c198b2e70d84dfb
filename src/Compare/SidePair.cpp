#include "Compare/SidePair.h"

#include "Compare/Perceptual.h"

namespace Compare {

using Json = nlohmann::ordered_json;

Util::Outcome SidePair::Start()
{
    std::string error;
    m_a = ProbeSide::Start(m_request.a, m_request.capture, error);
    m_b = m_a && m_request.b ? ProbeSide::Start(*m_request.b, m_request.capture, error) : nullptr;
    return error.empty() ? Util::Outcome() : Util::Failure{Util::ExitStatus::NoDriver, error};
}

SidePair::Answers SidePair::Ask(const Json& request)
{
    m_a->Ask(request);
    if (m_b)
        m_b->Ask(request);
    Answers answers;
    answers.expected = m_a->Answer();
    answers.found = m_b ? m_b->Answer() : answers.expected;
    return answers;
}

Util::Outcome SidePair::Trouble() const
{
    const ProbeSide& side = m_a->Error().empty() && m_b ? *m_b : *m_a;
    return Util::Failure{side.Status(), side.Error()};
}

Difference SidePair::Measure(std::size_t index, Image& expected, Image& found)
{
    expected = m_a->Pixels(index);
    found = m_b->Pixels(index);
    return Judge(expected, found);
}

Difference SidePair::MeasureReference(std::size_t index, Image& expected, Image& found)
{
    expected = m_a->Reference(index);
    found = m_a->Pixels(index);
    if (found.IsWhole())
        found = FromPicture(ToPicture(found));
    return Judge(expected, found);
}

Difference SidePair::Judge(const Image& expected, const Image& found)
{
    Difference difference = Compare::Measure(expected, found, m_request.tolerance);
    if (!difference.isOver || !m_request.tolerance.perceptual || !difference.mismatch.empty())
        return difference;
    std::string error;
    difference.perceptual = PerceptualDistance(ToPicture(expected), ToPicture(found), error);
    if (!error.empty())
        m_result.AddNote(error);
    difference.isOver = !difference.perceptual || *difference.perceptual > *m_request.tolerance.perceptual;
    return difference;
}

bool SidePair::PutExpected(std::size_t index, const Image& expected)
{
    return m_b->Put(index, expected.data);
}

} // namespace Compare
