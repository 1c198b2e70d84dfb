// All captures of a folder, each compared by itself.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "Compare/Result.h"
#include "Util/ExitStatus.h"

namespace Compare {

struct SuiteRequest {
    std::string folder;
    /// What is asked of each capture, but for its name.
    Request each;
    /// Of all captures in order, each `shards`th from the one with number `shard`, from 1.
    std::uint32_t shard = 1;
    std::uint32_t shards = 1;
    /// So many at a time.
    unsigned int jobs = 1;
};

/// A capture of a suite, and what came of it.
struct SuiteCase {
    enum class Verdict : std::uint8_t { Equal, Different, Broken };

    /// Its path from the folder on.
    std::string name;
    Verdict verdict = Verdict::Broken;
    /// Why it could not be compared, and how that would end a comparison of it alone.
    std::string problem;
    Util::ExitStatus status = Util::ExitStatus::Done;
    double seconds = 0;
    Request request;
    /// Without images.
    Result result;
    struct Picture {
        std::string caption;
        std::vector<std::uint8_t> png;
    };
    /// Of what differs.
    std::vector<Picture> pictures;

    /// One line: what differs first, or the problem; empty where all is equal.
    [[nodiscard]] std::string Text() const;
};

/// The captures below a folder that belong to the shard, by their paths from there on, in order. `error` names a folder
/// that cannot be read.
[[nodiscard]] std::vector<std::string> FindCaptures(const SuiteRequest& request, std::string& error);

/// Compares them, several at a time. `done` hears of each that is done, one at a time; the answer is in their order.
std::vector<SuiteCase> RunSuite(const SuiteRequest& request, const std::vector<std::string>& captures,
                                const std::function<void(const SuiteCase&)>& done);

} // namespace Compare
