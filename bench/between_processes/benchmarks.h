// The benchmarks of the library as its clients meet it; each has a file of its own.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "report.h"

namespace Bench {

struct Settings {
    /// Runs just long enough to check that everything works; the figures are then meaningless.
    bool isQuick = false;

    uint32_t choose(uint32_t normal, uint32_t quick) const { return isQuick ? quick : normal; }
};

void measureHandOver(const Settings& settings);
void measureCalls(const Settings& settings);
void measureLoad(const Settings& settings);
void measureSizeAndStart(const Settings& settings);

/// Processors on which the other process of a benchmark runs; this one runs on processor 0.
inline constexpr struct {
    const char* name;
    uint32_t processor;
} kPlacements[] = {{"on two processors", 1}, {"on one processor", 0}};

/// The results of rounds of measurements.
class Rounds {
  public:
    /// @param times of one round, in us
    void add(const std::vector<double>& times) { add(median(times), quantile(times, 0.99)); }
    void add(double p50, double p99) {
        p50s_.push_back(p50);
        p99s_.push_back(p99);
    }
    double p50() const { return median(p50s_); }
    double p99() const { return median(p99s_); }

  private:
    std::vector<double> p50s_;
    std::vector<double> p99s_;
};

inline double microsecondsSince(std::chrono::steady_clock::time_point begin) {
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin)
        .count();
}

}  // namespace Bench
