#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Inspect/Place.h"
#include "Inspect/Replay/ReplayProcess.h"

namespace Inspect {

/// What a replay showed after a call.
struct Outcome {
    /// The call, as "go" and "step" answer it.
    Json call;
    /// Those of "targets", and the contents of each.
    Json targets;
    std::vector<std::vector<std::uint8_t>> contents;
    /// What other requests were answered there, by their texts.
    std::map<std::string, Json> answers = {};

    [[nodiscard]] ReplayAnswer Target(std::size_t index) const { return {targets[index], contents[index]}; }
    /// Of a replay that has come to the call. Throws Error.
    static Outcome Of(ReplayProcess& process, Json call);
};

/// Keeps the outcomes that were used last, up to a number of bytes. Of a frame, parts of images that are as in an
/// earlier outcome are kept once, so that a draw takes about what it changes. Members may be called from any thread.
class KeptOutcomes {
public:
    explicit KeptOutcomes(std::size_t mostBytes) : m_mostBytes(mostBytes) {}

    /// The number of the edits that were in force, 0 for none, and a place.
    using Moment = std::pair<std::uint32_t, Place>;
    /// Null where there is none.
    std::shared_ptr<const Outcome> Find(const Moment& moment);
    /// What a request was answered there.
    std::optional<Json> FindAnswer(const Moment& moment, const std::string& request);
    /// Lets go of others where it has to.
    void Keep(const Moment& moment, const Outcome& outcome);
    /// The same for one that nobody has asked for: it takes the place of other frames' only. False where it has none.
    bool KeepAhead(const Moment& moment, const Outcome& outcome);
    /// How many of a frame there are, without edits.
    [[nodiscard]] std::size_t CountOf(std::uint32_t frame) const;

private:
    /// A part of an image, which outcomes share.
    struct Block;
    using Image = std::vector<std::shared_ptr<const Block>>;
    struct Packed {
        /// All but the contents, as text.
        std::string text;
        std::vector<Image> images;
        std::list<Moment>::iterator use;
    };

    void Insert(const Moment& moment, const Outcome& outcome);
    void Erase(Moment moment);
    Image Pack(const std::vector<std::uint8_t>& bytes, const Image& like);
    /// It becomes the one that was used last.
    const Packed* Use(const Moment& moment);
    [[nodiscard]] bool IsTooMuch() const { return m_bytes > m_mostBytes && m_kept.size() > 1; }

    const std::size_t m_mostBytes;
    mutable std::mutex m_mutex;
    /// Of texts and blocks.
    std::size_t m_bytes = 0;
    std::map<Moment, Packed> m_kept;
    /// The one that was used last is in front.
    std::list<Moment> m_recent;
    /// Of the frame whose outcomes came last: its edits and number, and its latest images by object and what they are.
    std::pair<std::uint32_t, std::uint32_t> m_latestFrame;
    std::map<std::pair<std::string, std::string>, Image> m_latest;
};

} // namespace Inspect
