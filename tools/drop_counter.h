// Counts lost records of a stream.
#pragma once

#include <cstdint>
#include <optional>

/// Follows the sequence numbers of one stream.
class DropCounter {
  public:
    /// @param isDiscontinuity whether the record says that others before it were dropped.
    /// @return the number of records lost directly before this one. A discontinuity mark without a
    /// gap in the numbers counts as one, because the number is unknown.
    uint32_t next(uint32_t sequence, bool isDiscontinuity) {
        uint32_t gap = last_ ? sequence - *last_ - 1 : 0;
        if (gap > kLargestGap) {
            gap = 0;
        }
        last_ = sequence;
        return gap == 0 && isDiscontinuity ? 1 : gap;
    }

  private:
    /// A larger gap is a step back: the sensor has restarted its count.
    static constexpr uint32_t kLargestGap = UINT32_MAX / 2;

    std::optional<uint32_t> last_;
};
