#include "Tools/Bench/BenchText.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <numeric>

#include "Tools/Bench/Machine.h"

namespace Tools {

namespace {

/// How many frames and functions are named that differ most.
constexpr std::size_t MostNamed = 5;

std::string Fixed(double value, int digits)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

/// In milliseconds, three figures or more.
std::string Time(double milliseconds)
{
    return Fixed(milliseconds, milliseconds < 10 ? 3 : milliseconds < 100 ? 2 : 1) + " ms";
}

std::string Signed(double ratio)
{
    return (ratio < 1 ? "-" : "+") + Fixed(std::abs(ratio - 1) * 100, 1);
}

/// Half of what lies between the quartiles.
std::string Spread(const Distribution& times)
{
    if (times.median <= 0)
        return "";
    return "± " + Fixed((times.highQuartile - times.lowQuartile) / 2 / times.median * 100, 1) + " %";
}

std::string Driver(const std::map<std::string, std::string>& driver)
{
    std::string text;
    for (const char* const name : {"GL_RENDERER", "GL_VERSION"})
        if (const auto found = driver.find(name); found != driver.end())
            text += (text.empty() ? "" : ", ") + found->second;
    return text.empty() ? "a driver without a name" : text;
}

std::string SideLine(const Sides::Side& side, const ReplayResults& results)
{
    return side.name + ": " + side.Description() + " (" + Driver(results.driver) + ")\n";
}

std::string MachineLine(const Measurement& measurement)
{
    std::string text;
    const auto add = [&](const std::string& what) { text += (text.empty() ? "" : ", ") + what; };
    for (const auto& [name, value] : DescribeMachine())
        add(name == "cpus" ? value + " CPUs" : name == "governor" ? "governor " + value : value);
    if (measurement.loadBefore >= 0)
        add("load " + Fixed(measurement.loadBefore, 1) + " before and " + Fixed(measurement.loadAfter, 1) + " after");
    return text + "\n";
}

/// Pads to a column; letters of more than one byte count as one.
void AppendCell(std::string& line, const std::string& text, std::size_t width)
{
    const auto letters = static_cast<std::size_t>(
        std::ranges::count_if(text, [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }));
    line += text + std::string(width > letters ? width - letters : 1, ' ');
}

std::string Row(const std::vector<std::string>& cells)
{
    constexpr std::size_t Widths[] = {36, 12, 10, 12, 10, 0};
    std::string line;
    for (std::size_t i = 0; i < cells.size(); ++i)
        AppendCell(line, cells[i], Widths[i]);
    return line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
}

std::string QuantityRow(const Quantity& quantity)
{
    std::vector<std::string> cells = {quantity.name, Time(quantity.a.median), Spread(quantity.a)};
    if (quantity.b) {
        cells.push_back(Time(quantity.b->median));
        cells.push_back(Spread(*quantity.b));
        if (quantity.ratio) {
            cells.push_back(Signed(quantity.ratio->value) + " %, " + Signed(quantity.ratio->low) + " to " +
                            Signed(quantity.ratio->high));
        } else {
            cells.emplace_back("not comparable");
        }
    } else {
        cells.push_back(Time(quantity.centre->low) + " to " + Time(quantity.centre->high));
    }
    return Row(cells);
}

/// The quantities that have the largest part in the difference, or of A alone in the time.
std::string LargestRows(std::vector<Quantity> quantities, bool hasSides)
{
    std::ranges::stable_sort(quantities, std::ranges::greater(), [&](const Quantity& quantity) {
        return hasSides ? std::abs(Difference(quantity)) : quantity.a.median;
    });
    std::string text;
    for (std::size_t i = 0; i < std::min(MostNamed, quantities.size()); ++i)
        text += QuantityRow(quantities[i]);
    return text;
}

/// The frame or render pass with more than half of the difference, where there is one.
std::string WhereItIs(const Comparison& comparison)
{
    const std::vector<Quantity>& parts = comparison.renderPasses.empty() ? comparison.frames : comparison.renderPasses;
    const double sum = std::transform_reduce(
        parts.begin(), parts.end(), 0.0, std::plus(), [](const Quantity& part) { return Difference(part); });
    const auto most = std::ranges::find_if(
        parts, [&](const Quantity& part) { return IsDifferent(part) && Difference(part) / sum > 0.5; });
    return most != parts.end() && parts.size() > 1 ? ", most of it in " + most->name : "";
}

std::string GpuRows(const Measurement& measurement, const Comparison& comparison)
{
    std::string text;
    if (comparison.gpu)
        text += QuantityRow(*comparison.gpu);
    if (!comparison.renderPasses.empty())
        text += (comparison.gpu && comparison.gpu->b ? "GPU time of the render passes that differ most:\n"
                                                     : "GPU time of the dearest render passes:\n") +
                LargestRows(comparison.renderPasses, !measurement.b.empty());
    for (const auto* const side : {&measurement.a, &measurement.b})
        if (!side->empty() && !side->front().gpuUnavailable.empty())
            text += std::string("GPU times of ") + (side == &measurement.a ? "A" : "B") +
                    " not taken: " + side->front().gpuUnavailable + "\n";
    return text;
}

/// Times of a replay that fails are no times of the frames.
std::string ErrorsLine(const Measurement& measurement)
{
    const auto list = [](const ReplayResults& results) {
        std::string text;
        for (const auto& [name, count] : results.errors)
            text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + name;
        return text.empty() ? std::string("none") : text;
    };
    const auto& a = measurement.a.front();
    if (measurement.b.empty() || a.errors == measurement.b.front().errors)
        return "";
    return "The drivers raise other errors, so that the times may not be those of the same drawing: A " + list(a) +
           "; B " + list(measurement.b.front()) + ".\n";
}

} // namespace

std::string Verdict(const Comparison& comparison)
{
    const Quantity& time = comparison.wall;
    if (!time.b)
        return "A takes " + Time(time.centre->value) + ", " + Time(time.centre->low) + " to " + Time(time.centre->high);
    if (!time.ratio)
        return "The frames take no time that can be compared";
    const auto percent = [](double ratio) { return Fixed(std::abs(ratio - 1) * 100, 1); };
    const Estimate& ratio = *time.ratio;
    if (ratio.low > 1)
        return "B is " + percent(ratio.value) + " % slower, " + percent(ratio.low) + " to " + percent(ratio.high) +
               WhereItIs(comparison);
    if (ratio.high < 1)
        return "B is " + percent(ratio.value) + " % faster, " + percent(ratio.high) + " to " + percent(ratio.low) +
               WhereItIs(comparison);
    return "No difference found: B takes from " + percent(ratio.low) + " % less to " + percent(ratio.high) +
           " % more time";
}

std::string BenchText(const BenchOptions& options, const Measurement& measurement, const Comparison& comparison)
{
    const bool hasSides = options.b.has_value();
    const auto [first, last] = measurement.frames;
    std::string text = options.captureFile + ", " +
                       (first == last ? "frame " + std::to_string(first)
                                      : "frames " + std::to_string(first) + " to " + std::to_string(last)) +
                       ", replayed " + std::to_string(measurement.passes) + " times by each of " +
                       std::to_string(options.rounds) + " processes" + (hasSides ? " of a side\n" : "\n");
    text += SideLine(options.a, measurement.a.front());
    if (hasSides)
        text += SideLine(*options.b, measurement.b.front());
    text += MachineLine(measurement) + ErrorsLine(measurement) + "\n";
    const std::string confidence = Fixed(options.confidence * 100, options.confidence > 0.999 ? 2 : 1) + " %";
    text += hasSides ? Row({"", "A median", "spread", "B median", "spread", "B against A, at " + confidence})
                     : Row({"", "median", "spread", "at " + confidence});
    text += QuantityRow(comparison.wall) + QuantityRow(comparison.cpu);
    if (comparison.frames.size() > 1 && (!hasSides || IsDifferent(comparison.wall)))
        text += (hasSides ? "The frames that differ most:\n" : "The longest frames:\n") +
                LargestRows(comparison.frames, hasSides);
    text += GpuRows(measurement, comparison);
    if (!comparison.calls.empty())
        text += (hasSides ? "CPU time of the functions that differ most, of all passes:\n"
                          : "CPU time of the dearest functions, of all passes:\n") +
                LargestRows(comparison.calls, hasSides);
    return text + "\n" + Verdict(comparison) + ".\n";
}

} // namespace Tools
