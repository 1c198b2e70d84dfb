#include "Compare/SidePair.h"

#include "Compare/Perceptual.h"

namespace Compare {

using Json = nlohmann::ordered_json;

Util::Outcome SidePair::Start()
{
    std::string error;
    m_a = ProbeSide::Start(m_request.a, m_request.capture, error);
    m_b = m_a && m_request.b ? ProbeSide::Start(*m_request.b, m_request.capture, error) : nullptr;
    if (!error.empty())
        return Util::Failure{Util::ExitStatus::NoDriver, error};
    if (m_request.timeLimit) {
        if (!m_deadline)
            m_deadline = std::chrono::steady_clock::now() + *m_request.timeLimit;
        for (ProbeSide* const side : {m_a.get(), m_b.get()})
            if (side)
                side->SetDeadline(*m_deadline);
    }
    return std::nullopt;
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
    return Judge(m_request.tolerance, expected, found, m_result);
}

Difference SidePair::MeasureReference(std::size_t index, Image& expected, Image& found)
{
    expected = m_a->Reference(index);
    found = m_a->Pixels(index);
    if (found.IsWhole())
        found = FromPicture(ToPicture(found));
    return Judge(m_request.tolerance, expected, found, m_result);
}

bool SidePair::PutExpected(std::size_t index, const Image& expected)
{
    return m_b->Put(index, expected.data);
}

} // namespace Compare
