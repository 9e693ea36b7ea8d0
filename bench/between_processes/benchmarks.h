// The benchmarks of the library as its clients meet it; each has a file of its own.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "report.h"

namespace Bench {

struct Settings {
    /// Enough to see that everything works; the figures are then of little worth.
    bool isQuick = false;

    uint32_t choose(uint32_t normal, uint32_t quick) const { return isQuick ? quick : normal; }
};

void measureHandOver(const Settings& settings);
void measureControlCalls(const Settings& settings);
void measureLoad(const Settings& settings);
void measureSizeAndStart(const Settings& settings);

/// Where the other process of a benchmark runs, this one being on processor 0.
inline constexpr struct {
    const char* name;
    uint32_t processor;
} kPlacements[] = {{"on two processors", 1}, {"on one processor", 0}};

/// A client of the load benchmark.
int runLoadClient();

/// What rounds of measurements came to.
class Rounds {
  public:
    /// @param times of one round, in us
    void add(const std::vector<double>& times) {
        medians_.push_back(median(times));
        p99s_.push_back(quantile(times, 0.99));
    }
    double p50() const { return median(medians_); }
    double p99() const { return median(p99s_); }

  private:
    std::vector<double> medians_;
    std::vector<double> p99s_;
};

inline double microsecondsSince(std::chrono::steady_clock::time_point begin) {
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin)
        .count();
}

}  // namespace Bench
