#include "report.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace Bench {
namespace {

/// Whole numbers and large ones without a point, others with three digits that count.
std::string textOf(double value, const std::string& unit) {
    const bool isWhole = value >= 100 || value == std::trunc(value);
    return (isWhole ? fmt::format("{:.0f}", value) : fmt::format("{:#.3g}", value)) +
           (unit.empty() ? "" : " " + unit);
}

}  // namespace

void beginTable(const std::string& title, const std::string& measured,
                const std::string& baseline) {
    fmt::print("\n### {}\n\n| | {} | {} | ratio | goal: at most |\n|---|---:|---:|---:|---|\n",
               title, measured, baseline);
}

void addRow(const std::string& name, const std::string& unit, double measured,
            std::optional<double> baseline, std::optional<Goal> goal) {
    std::string ratio;
    std::string verdict;
    if (baseline) {
        ratio = fmt::format("{:.2f}", measured / *baseline);
    }
    if (goal) {
        const bool isRatio = goal->of == Goal::Of::kRatio;
        const double reached = isRatio ? measured / *baseline : measured - *baseline;
        verdict =
            isRatio ? fmt::format("{:.2f} times", goal->most) : textOf(goal->most, unit) + " more";
        verdict += reached <= goal->most ? ": met" : ": **missed**";
    }
    fmt::print("| {} | {} | {} | {} | {} |\n", name, textOf(measured, unit),
               baseline ? textOf(*baseline, unit) : "", ratio, verdict);
    std::fflush(stdout);
}

double quantile(std::vector<double> values, double part) {
    const auto index = std::lround(part * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + index, values.end());
    return values[static_cast<size_t>(index)];
}

}  // namespace Bench
