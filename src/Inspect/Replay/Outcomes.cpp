#include "Inspect/Replay/Outcomes.h"

#include <algorithm>
#include <iterator>
#include <span>

namespace Inspect {

namespace {

/// Of a part of an image that is shared. A small one is changed by few draws, a large one costs little to keep track
/// of.
constexpr std::size_t BlockBytes = 4096;

} // namespace

Outcome Outcome::Of(ReplayProcess& process, Json call)
{
    Outcome outcome = {std::move(call), process.Ask({{"do", "targets"}}).json.value("targets", Json::array()), {}};
    for (std::size_t i = 0; i < outcome.targets.size(); ++i)
        outcome.contents.push_back(process.Ask({{"do", "pixels"}, {"index", i}}).bytes);
    return outcome;
}

struct KeptOutcomes::Block {
    Block(const std::uint8_t* begin, const std::uint8_t* end, std::size_t& total) : bytes(begin, end), m_total(total)
    {
        m_total += bytes.size();
    }
    ~Block() { m_total -= bytes.size(); }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;

    const std::vector<std::uint8_t> bytes;

private:
    std::size_t& m_total;
};

std::shared_ptr<const Outcome> KeptOutcomes::Find(const Moment& moment)
{
    const std::lock_guard lock(m_mutex);
    const Packed* const packed = Use(moment);
    if (!packed)
        return nullptr;
    auto outcome = std::make_shared<Outcome>();
    Json json = Json::parse(packed->text);
    outcome->call = std::move(json["call"]);
    outcome->targets = std::move(json["targets"]);
    outcome->answers = json["answers"].get<std::map<std::string, Json>>();
    for (const Image& image : packed->images) {
        std::vector<std::uint8_t>& bytes = outcome->contents.emplace_back();
        bytes.reserve(image.size() * BlockBytes);
        for (const auto& block : image)
            bytes.insert(bytes.end(), block->bytes.begin(), block->bytes.end());
    }
    return outcome;
}

std::optional<Json> KeptOutcomes::FindAnswer(const Moment& moment, const std::string& request)
{
    const std::lock_guard lock(m_mutex);
    const Packed* const packed = Use(moment);
    if (!packed)
        return std::nullopt;
    const Json json = Json::parse(packed->text);
    const auto answer = json["answers"].find(request);
    return answer != json["answers"].end() ? std::optional<Json>(*answer) : std::nullopt;
}

void KeptOutcomes::Keep(const Moment& moment, const Outcome& outcome)
{
    const std::lock_guard lock(m_mutex);
    Insert(moment, outcome);
    while (IsTooMuch())
        Erase(m_recent.back());
}

bool KeptOutcomes::KeepAhead(const Moment& moment, const Outcome& outcome)
{
    const std::lock_guard lock(m_mutex);
    Insert(moment, outcome);
    while (IsTooMuch()) {
        const Moment& oldest = m_recent.back();
        if (oldest.first == moment.first && oldest.second.frame == moment.second.frame) {
            Erase(moment);
            m_latest.clear();
            return false;
        }
        Erase(oldest);
    }
    return true;
}

std::size_t KeptOutcomes::CountOf(std::uint32_t frame) const
{
    const std::lock_guard lock(m_mutex);
    return static_cast<std::size_t>(
        std::distance(m_kept.lower_bound({0, {frame, 0}}), m_kept.lower_bound({0, {frame + 1, 0}})));
}

const KeptOutcomes::Packed* KeptOutcomes::Use(const Moment& moment)
{
    const auto kept = m_kept.find(moment);
    if (kept == m_kept.end())
        return nullptr;
    m_recent.splice(m_recent.begin(), m_recent, kept->second.use);
    return &kept->second;
}

void KeptOutcomes::Insert(const Moment& moment, const Outcome& outcome)
{
    Erase(moment);
    if (const std::pair frame(moment.first, moment.second.frame); m_latestFrame != frame) {
        m_latest.clear();
        m_latestFrame = frame;
    }
    Packed packed;
    packed.text = Text({{"call", outcome.call}, {"targets", outcome.targets}, {"answers", outcome.answers}});
    m_bytes += packed.text.size();
    for (std::size_t i = 0; i < outcome.contents.size(); ++i) {
        const Json& target = outcome.targets[i];
        Image& latest = m_latest[{target.value("object", ""), target.value("what", "")}];
        latest = Pack(outcome.contents[i], latest);
        packed.images.push_back(latest);
    }
    packed.use = m_recent.insert(m_recent.begin(), moment);
    m_kept.emplace(moment, std::move(packed));
}

void KeptOutcomes::Erase(Moment moment)
{
    const auto kept = m_kept.find(moment);
    if (kept == m_kept.end())
        return;
    m_bytes -= kept->second.text.size();
    m_recent.erase(kept->second.use);
    m_kept.erase(kept);
}

KeptOutcomes::Image KeptOutcomes::Pack(const std::vector<std::uint8_t>& bytes, const Image& like)
{
    Image image;
    for (std::size_t at = 0; at < bytes.size(); at += BlockBytes) {
        const std::uint8_t* const begin = bytes.data() + at;
        const std::uint8_t* const end = begin + std::min(BlockBytes, bytes.size() - at);
        const std::size_t i = image.size();
        const bool isAlike = i < like.size() && std::ranges::equal(like[i]->bytes, std::span(begin, end));
        image.push_back(isAlike ? like[i] : std::make_shared<const Block>(begin, end, m_bytes));
    }
    return image;
}

} // namespace Inspect
