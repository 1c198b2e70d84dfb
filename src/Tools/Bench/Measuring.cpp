#include "Tools/Bench/Measuring.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "Tools/Bench/Machine.h"

namespace Tools {

namespace {

/// A process of one side, and where its results go.
struct Player {
    const Sides::Side* side;
    std::vector<ReplayResults>* results;
    std::unique_ptr<Replayer> replayer;
};

/// How long the measured passes of a process shall take at least, so that a median of them is a steady one.
constexpr double SecondsOfPasses = 0.5;
constexpr double FewestPasses = 4;
constexpr double MostPasses = 100;

/// Has each player replay so often, in turn: A B B A A B B A. `longest` becomes the time of the longest one of the last
/// passes, in seconds.
Util::Outcome TakeTurns(std::vector<Player>& players, std::uint32_t passes, double& longest)
{
    for (std::uint32_t pass = 0; pass < passes; ++pass) {
        longest = 0;
        for (std::size_t turn = 0; turn < players.size(); ++turn) {
            const std::size_t player = pass % 2 == 0 ? turn : players.size() - 1 - turn;
            const auto start = std::chrono::steady_clock::now();
            if (Util::Outcome failure = players[player].replayer->Replay())
                return failure;
            const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
            longest = std::max(longest, time.count());
        }
    }
    return std::nullopt;
}

/// Takes the passes of the warm-up out, and checks that the others are whole.
Util::Outcome TakeResults(Player& player, const BenchOptions& options, const Measurement& measurement)
{
    const Util::FrameRange range = measurement.frames;
    ReplayResults results;
    if (Util::Outcome failure = player.replayer->Finish(results))
        return failure;
    auto& frames = results.frames;
    const std::size_t expected = options.warmUp - 1 + measurement.passes;
    const std::size_t count = range.last - range.first + 1;
    const bool isWhole = frames.size() == expected &&
                         std::ranges::all_of(frames, [&](const auto& pass) { return pass.size() == count; });
    if (!isWhole) {
        return Util::Failure{Util::ExitStatus::CutShort,
                             "side " + player.side->name + " did not replay all of frames " +
                                 std::to_string(range.first) + " to " + std::to_string(range.last) + " each time"};
    }
    frames.erase(frames.begin(), frames.begin() + options.warmUp - 1);
    if (!results.gpuMs.empty())
        results.gpuMs.erase(results.gpuMs.begin(), results.gpuMs.begin() + options.warmUp - 1);
    player.results->push_back(std::move(results));
    return std::nullopt;
}

Util::Outcome MeasureRound(std::vector<Player>& players, const BenchOptions& options, Measurement& measurement)
{
    for (Player& player : players) {
        Util::Failure failure;
        player.replayer = Replayer::Start(options, *player.side, measurement.frames, failure);
        if (!player.replayer)
            return failure;
    }
    double longest = 0;
    Util::Outcome failure = TakeTurns(players, options.warmUp, longest);
    if (measurement.passes == 0)
        measurement.passes =
            static_cast<std::uint32_t>(std::clamp(std::ceil(SecondsOfPasses / longest), FewestPasses, MostPasses));
    if (!failure)
        failure = TakeTurns(players, measurement.passes, longest);
    for (Player& player : players)
        if (!failure)
            failure = TakeResults(player, options, measurement);
    return failure;
}

} // namespace

Util::Outcome Measure(const BenchOptions& options, Util::FrameRange frames,
                      const std::function<void(std::uint32_t)>& progress, Measurement& measurement)
{
    measurement.frames = frames;
    measurement.passes = options.passes;
    measurement.loadBefore = LoadAverage();
    for (std::uint32_t round = 0; round < options.rounds; ++round) {
        progress(round);
        std::vector<Player> players;
        players.push_back({&options.a, &measurement.a, nullptr});
        if (options.b)
            players.push_back({&*options.b, &measurement.b, nullptr});
        // Neither side is always the first one.
        if (round % 2 != 0)
            std::ranges::reverse(players);
        if (Util::Outcome failure = MeasureRound(players, options, measurement))
            return failure;
    }
    measurement.loadAfter = LoadAverage();
    return std::nullopt;
}

} // namespace Tools
