// Converts a batch of HAL records and hands the API records to the client's callback.
#pragma once

#include <vek/gsl.h>
#include <vek/sensors/stream.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

#include "os/always_assert.h"
#include "os/static_vector.h"
#include "stream/record_conversion.h"

namespace Vek::Sensors::HidlWrapper {

/// Delivers batches of a stream whose records are converted. The first
/// RecordConversion<Data>::kFixedRecords records of a batch are converted on the stack, the rest on
/// the heap.
template <typename Data, typename HidlData>
class CallbackStorage {
  public:
    using Callback = std::function<void(typename IDataStream<Data>::Batch)>;

    CallbackStorage() = default;
    explicit CallbackStorage(Callback callback) : callback_(std::move(callback)) {}

    /// @param transaction a queue's read transaction; the batch is its first region followed by its
    /// second.
    template <typename MemTransaction>
    void deliver(const MemTransaction& transaction) const {
        TempStorage records;
        convert(records, regionOf(transaction.getFirstRegion()));
        if (transaction.getSecondRegion().getLength() > 0) {
            convert(records, regionOf(transaction.getSecondRegion()));
        }
        const std::array<gsl::span<const Data>, 2> spans{
            gsl::span<const Data>{records.fixed.data(), records.fixed.size()},
            gsl::span<const Data>{records.overflow.data(), records.overflow.size()}};
        callback_(spans);
    }

  private:
    struct TempStorage {
        OS::StaticVector<Data, RecordConversion<Data>::kFixedRecords> fixed;
        std::vector<Data> overflow;
    };

    template <typename MemRegion>
    static gsl::span<const HidlData> regionOf(const MemRegion& region) {
        return {region.getAddress(), region.getLength()};
    }

    /// Appends to `fixed` while there is room. Avoids the span's iterators, which check each step.
    static void convert(TempStorage& records, gsl::span<const HidlData> region) {
        const size_t room = records.fixed.capacity() - records.fixed.size();
        const size_t fitting = std::min(room, region.size());
        records.fixed.append(region.data(), fitting, RecordConversion<Data>::convert);
        if (fitting < region.size()) {
            spill(records.overflow, region, fitting);
        }
    }

    /// Appends the rest to `overflow`, which allocates once. Not inline, because it is rare.
    [[gnu::noinline]] static void spill(std::vector<Data>& overflow,
                                        gsl::span<const HidlData> region, size_t fitting) {
        overflow.reserve(overflow.size() + region.size() - fitting);
        for (size_t i = fitting; i < region.size(); ++i) {
            // Also tells the compiler that push_back never reallocates.
            VEK_ALWAYS_ASSERT(overflow.size() != overflow.capacity() && "no room to spill into");
            overflow.push_back(RecordConversion<Data>::convert(region.data()[i]));
        }
    }

    Callback callback_;
};

}  // namespace Vek::Sensors::HidlWrapper
