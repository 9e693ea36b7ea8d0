// What the benchmarks found, as tables of ratios in Markdown on standard output.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace Bench {

/// Upper limit of a figure, relative to its baseline.
struct Goal {
    enum class Of { kRatio, kDifference } of;
    double most;
};

inline constexpr Goal ratioOf(double most) {
    return {Goal::Of::kRatio, most};
}
inline constexpr Goal differenceOf(double most) {
    return {Goal::Of::kDifference, most};
}

void beginTable(const std::string& title, const std::string& measured = "measured",
                const std::string& baseline = "baseline");

/// @param baseline the figure of the least code that does the same job, in the same run
void addRow(const std::string& name, const std::string& unit, double measured,
            std::optional<double> baseline = std::nullopt, std::optional<Goal> goal = std::nullopt);

/// @param values not empty
/// @param part from 0 to 1
double quantile(std::vector<double> values, double part);

inline double median(const std::vector<double>& values) {
    return quantile(values, 0.5);
}

}  // namespace Bench
