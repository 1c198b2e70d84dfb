#include "Tools/Bench/Comparison.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <numeric>
#include <set>

namespace Tools {

namespace {

/// By round, then by pass.
using Times = std::vector<std::vector<double>>;

Times TimesOf(const std::vector<ReplayResults>& rounds,
              const std::function<double(const std::vector<PassTime>&)>& timeOfPass)
{
    Times times;
    for (const ReplayResults& round : rounds) {
        times.emplace_back();
        for (const std::vector<PassTime>& pass : round.frames)
            times.back().push_back(timeOfPass(pass));
    }
    return times;
}

/// One time for each process.
Times TimesOfCall(const std::vector<ReplayResults>& rounds, const std::string& call)
{
    Times times;
    for (const ReplayResults& round : rounds) {
        const auto found = round.callsMs.find(call);
        times.push_back({found == round.callsMs.end() ? 0 : found->second});
    }
    return times;
}

/// GPU times of one render pass, in those passes in which it was measured.
Times TimesOfRenderPass(const std::vector<ReplayResults>& rounds, const RenderPass& renderPass)
{
    Times times;
    for (const ReplayResults& round : rounds) {
        times.emplace_back();
        for (const auto& pass : round.gpuMs)
            if (const auto found = pass.find(renderPass); found != pass.end())
                times.back().push_back(found->second);
    }
    return times;
}

/// Sums of those passes in which all of so many render passes were measured.
Times GpuTimesOf(const std::vector<ReplayResults>& rounds, std::size_t renderPasses)
{
    Times times;
    for (const ReplayResults& round : rounds) {
        times.emplace_back();
        for (const auto& pass : round.gpuMs)
            if (pass.size() == renderPasses)
                times.back().push_back(std::accumulate(pass.begin(), pass.end(), 0.0,
                                                       [](double sum, const auto& cost) { return sum + cost.second; }));
    }
    return times;
}

bool IsInEachRound(const Times& times)
{
    return std::ranges::none_of(times, &std::vector<double>::empty);
}

std::string NameOf(const RenderPass& renderPass)
{
    return "pass " + std::to_string(renderPass.number) + " of frame " + std::to_string(renderPass.frame) +
           " (framebuffer " + std::to_string(renderPass.framebuffer) + ")";
}

double MedianOf(std::vector<double> values)
{
    return DistributionOf(std::move(values)).median;
}

Distribution DistributionOfAll(const Times& times)
{
    std::vector<double> all;
    for (const std::vector<double>& round : times)
        all.insert(all.end(), round.begin(), round.end());
    return DistributionOf(std::move(all));
}

/// Nothing where a time is too short for the clock, or missing.
std::optional<Estimate> RatioOf(const Times& a, const Times& b, double confidence)
{
    std::vector<double> rounds;
    for (std::size_t round = 0; round < a.size(); ++round) {
        std::vector<double> pairs;
        if (a[round].empty() || a[round].size() != b[round].size())
            return std::nullopt;
        for (std::size_t pass = 0; pass < a[round].size(); ++pass) {
            if (a[round][pass] <= 0 || b[round][pass] <= 0)
                return std::nullopt;
            pairs.push_back(std::log(b[round][pass] / a[round][pass]));
        }
        rounds.push_back(MedianOf(std::move(pairs)));
    }
    const Estimate logarithms = HodgesLehmann(rounds, confidence);
    return Estimate{std::exp(logarithms.value), std::exp(logarithms.low), std::exp(logarithms.high)};
}

Quantity QuantityOf(std::string name, const Times& a, const Times& b, double confidence)
{
    Quantity quantity{std::move(name), DistributionOfAll(a), std::nullopt, std::nullopt, std::nullopt};
    if (!b.empty()) {
        quantity.b = DistributionOfAll(b);
        quantity.ratio = RatioOf(a, b, confidence);
        return quantity;
    }
    std::vector<double> medians;
    std::ranges::transform(a, std::back_inserter(medians), MedianOf);
    quantity.centre = HodgesLehmann(medians, confidence);
    return quantity;
}

/// What one side alone has is not compared.
void AddGpuTimes(const Measurement& measurement, double confidence, Comparison& comparison)
{
    std::set<RenderPass> renderPasses;
    for (const auto* const side : {&measurement.a, &measurement.b})
        for (const ReplayResults& round : *side)
            for (const auto& pass : round.gpuMs)
                std::ranges::transform(pass, std::inserter(renderPasses, renderPasses.end()),
                                       [](const auto& cost) { return cost.first; });
    if (renderPasses.empty())
        return;
    const auto quantity = [&](std::string name, const Times& a, const Times& b) {
        return IsInEachRound(a) && IsInEachRound(b) ? std::optional(QuantityOf(std::move(name), a, b, confidence))
                                                    : std::nullopt;
    };
    comparison.gpu = quantity("GPU time", GpuTimesOf(measurement.a, renderPasses.size()),
                              GpuTimesOf(measurement.b, renderPasses.size()));
    for (const RenderPass& renderPass : renderPasses)
        if (auto time = quantity(NameOf(renderPass), TimesOfRenderPass(measurement.a, renderPass),
                                 TimesOfRenderPass(measurement.b, renderPass)))
            comparison.renderPasses.push_back(std::move(*time));
}

} // namespace

Comparison Compare(const Measurement& measurement, double confidence)
{
    const auto quantity = [&](std::string name, const auto& timeOfPass) {
        return QuantityOf(std::move(name), TimesOf(measurement.a, timeOfPass), TimesOf(measurement.b, timeOfPass),
                          confidence);
    };
    const auto sum = [](double PassTime::*member) {
        return [member](const std::vector<PassTime>& pass) {
            double all = 0;
            for (const PassTime& frame : pass)
                all += frame.*member;
            return all;
        };
    };
    Comparison comparison;
    comparison.wall = quantity("time", sum(&PassTime::wallMs));
    comparison.cpu = quantity("CPU time", sum(&PassTime::cpuMs));
    for (std::uint32_t frame = measurement.frames.first; frame <= measurement.frames.last; ++frame) {
        const std::size_t index = frame - measurement.frames.first;
        comparison.frames.push_back(
            quantity("frame " + std::to_string(frame), [index](const auto& pass) { return pass[index].wallMs; }));
    }
    AddGpuTimes(measurement, confidence, comparison);
    std::set<std::string> calls;
    for (const auto* const side : {&measurement.a, &measurement.b})
        for (const ReplayResults& round : *side)
            for (const auto& [call, time] : round.callsMs)
                calls.insert(call);
    for (const std::string& call : calls)
        comparison.calls.push_back(
            QuantityOf(call, TimesOfCall(measurement.a, call), TimesOfCall(measurement.b, call), confidence));
    return comparison;
}

} // namespace Tools
