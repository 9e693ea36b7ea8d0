// Random numbers that depend only on seed, name and index, not on the order of the calls.
#pragma once

#include <cmath>
#include <cstdint>
#include <string_view>

namespace Simulator {

/// Threading: constant, for any thread.
class Random {
  public:
    /// @param name of the user; each name has its own sequence
    Random(uint64_t seed, std::string_view name) : key_(mix(seed)) {
        for (const char letter : name) {
            key_ = mix(key_ + static_cast<unsigned char>(letter));
        }
    }

    /// SplitMix64, whose state after `index` steps is known without taking them.
    uint64_t bits(uint64_t index) const { return mix(key_ + index * 0x9E37'79B9'7F4A'7C15); }

    /// From low to high.
    double uniform(uint64_t index, double low, double high) const {
        return low + (high - low) * unit(index);
    }

    /// Of mean 0 and deviation 1.
    double normal(uint64_t index) const {
        return std::sqrt(-2 * std::log(unit(2 * index))) * std::cos(2 * M_PI * unit(2 * index + 1));
    }

  private:
    /// Above 0, below 1.
    double unit(uint64_t index) const {
        return (static_cast<double>(bits(index) >> 12) + 0.5) * 0x1p-52;
    }

    static uint64_t mix(uint64_t value) {
        value = (value ^ (value >> 30)) * 0xBF58'476D'1CE4'E5B9;
        value = (value ^ (value >> 27)) * 0x94D0'49BB'1331'11EB;
        return value ^ (value >> 31);
    }

    uint64_t key_;
};

}  // namespace Simulator
