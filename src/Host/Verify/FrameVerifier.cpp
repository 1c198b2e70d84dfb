#include "Host/Verify/FrameVerifier.h"

#include <algorithm>

#include "Host/Timing/FrameTimer.h"
#include "Replay/Driver/Driver.h"

namespace Host {

void FrameVerifier::SetReferences(const Data::References& references, Data::DriverName recording)
{
    m_references = &references;
    m_recording = std::move(recording);
    m_reference.reset();
}

bool FrameVerifier::IsReference(std::uint32_t driver)
{
    if (!m_references)
        return driver == 0;
    // The drivers of a capture are named at its start, and the live one once it has a context.
    if (const Data::DriverName live = m_reference ? Data::DriverName() : Replay::CurrentDriver(); live.IsKnown())
        m_reference = m_references->Choose(live);
    return driver == m_reference.value_or(0);
}

void FrameVerifier::ProcessFrameHash(std::uint32_t frame, std::uint32_t surface, std::uint32_t width,
                                     std::uint32_t height, std::uint64_t hash)
{
    if (IsReference(0))
        Compare(
            {m_pass, frame, surface, 0, {width, height, hash}, {}}, [this] { return m_reader.Read(0); });
}

void FrameVerifier::Compare(const Data::FramePicture& picture, std::optional<unsigned int> framebuffer)
{
    if (!IsReference(0))
        return;
    if (picture.hash) {
        Compare(
            {m_pass, picture.frame, 0, picture.framebuffer, {picture.width, picture.height, picture.hash}, {}},
            [&] { return framebuffer ? m_reader.Read(*framebuffer) : Picture(); });
    } else if (m_isOn && !picture.isThere) {
        ++m_withoutPicture;
    }
}

void FrameVerifier::Compare(const Data::ReferenceHashRecord& hash, const Data::ReferencePlace& place,
                            std::optional<unsigned int> framebuffer)
{
    if (!m_isOn || !IsReference(hash.driver))
        return;
    const bool isThere = hash.state == Data::PictureState::Hashed;
    Difference difference = {m_pass, place.frame, hash.surface, hash.framebuffer, {hash.width, hash.height, hash.hash},
                             {}};
    if (place.action && isThere) {
        difference.action = std::string(NameOf(place.kind)) + " " + place.action->Text();
        difference.call = place.call;
        difference.function = place.function;
        CompareAction(std::move(difference), framebuffer);
    } else if (isThere) {
        Compare(
            std::move(difference), [&] { return framebuffer ? m_reader.Read(*framebuffer) : Picture(); });
    } else if (!place.action) {
        ++m_withoutPicture;
    }
}

void FrameVerifier::CompareAction(Difference difference, std::optional<unsigned int> framebuffer)
{
    const FrameTimer::Break pause(m_timer, FrameTimer::Beside::Comparison);
    difference.replayed = framebuffer ? m_reader.Read(*framebuffer) : Picture();
    const Telling::InHost inHost(m_timer ? &m_timer->Teller() : nullptr);
    ++m_actionsCompared;
    if (difference.replayed == difference.recorded) {
        ++m_actionsEqual;
    } else if (const std::pair place(m_pass, difference.frame); place != m_lastWrong) {
        // What comes after it in the frame is mostly drawn over it.
        m_lastWrong = place;
        m_differences.push_back(std::move(difference));
    }
}

template <class Read> void FrameVerifier::Compare(Difference frame, Read read)
{
    if (!m_isOn)
        return;
    const FrameTimer::Break pause(m_timer, FrameTimer::Beside::Comparison);
    frame.replayed = read();
    const Telling::InHost inHost(m_timer ? &m_timer->Teller() : nullptr);
    ++m_compared;
    if (frame.replayed == frame.recorded)
        ++m_equal;
    else
        m_differences.push_back(frame);
}

bool FrameVerifier::IsVerified(std::uint32_t expected) const
{
    return m_compared != 0 && m_compared + m_withoutPicture == expected && m_equal == m_compared &&
           m_actionsEqual == m_actionsCompared;
}

std::string FrameVerifier::Report(std::uint32_t expected, bool isCutShort) const
{
    if (m_compared == 0) {
        return expected == 0 ? "not verified: there is no frame to compare"
               : isCutShort  ? "not verified: no frame with a hash was reached"
                             : "not verified: the capture has no frame hashes; record it with playback-record --hash";
    }
    const std::uint32_t comparable = expected - std::min(expected, m_withoutPicture);
    std::string report = (IsVerified(expected) ? "verified: " : "not verified: ") + std::to_string(m_equal) + " of " +
                         std::to_string(comparable) + " frames equal";
    if (m_compared < comparable)
        report += ", " + std::to_string(comparable - m_compared) + " not compared";
    if (m_withoutPicture != 0)
        report += ", " + std::to_string(m_withoutPicture) + " had no picture when recorded";
    if (m_actionsCompared != 0)
        report +=
            ", " + std::to_string(m_actionsEqual) + " of " + std::to_string(m_actionsCompared) + " draws and the like";
    if (!m_differences.empty()) {
        const Difference& first = m_differences.front();
        report += "; first difference in " + first.Where() + ": expected " + first.recorded.Text() + ", found " +
                  first.replayed.Text();
    }
    return report;
}

std::string FrameVerifier::DriverReport() const
{
    if (!m_reference || !m_references || m_references->Drivers().empty())
        return "";
    if (*m_reference != 0)
        return "compared with the hashes of this driver, " + m_references->Drivers().at(*m_reference).Text();
    return "compared with the hashes of the recording, by " + m_recording.Text() +
           ": the capture has none of this driver";
}

std::string FrameVerifier::Difference::Where() const
{
    std::string text = "frame " + std::to_string(frame);
    if (!action.empty())
        text += ", " + action + " (" + function + ", call " + std::to_string(call) + ")";
    return text +
           (surface != 0 ? ", surface " + std::to_string(surface) : ", framebuffer " + std::to_string(framebuffer));
}

} // namespace Host
