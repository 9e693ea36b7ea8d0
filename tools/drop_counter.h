// Counts the records that a stream lost on the way.
#pragma once

#include <cstdint>
#include <optional>

/// Follows the sequence numbers of one stream.
class DropCounter {
  public:
    /// @param isDiscontinuity whether the record says that others before it were dropped.
    /// @return the records lost right before this one. A mark without a gap in the numbers counts
    /// as one: how many were lost is then unknown.
    uint32_t next(uint32_t sequence, bool isDiscontinuity) {
        uint32_t gap = last_ ? sequence - *last_ - 1 : 0;
        if (gap > kLargestGap) {
            gap = 0;
        }
        last_ = sequence;
        return gap == 0 && isDiscontinuity ? 1 : gap;
    }

  private:
    /// A wider gap is a step back: the sensor began to count anew.
    static constexpr uint32_t kLargestGap = UINT32_MAX / 2;

    std::optional<uint32_t> last_;
};
