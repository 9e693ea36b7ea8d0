// The streams of a client on one composite, with counts of received and missing records.
#pragma once

#include <vek/sensors/factories.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <deque>
#include <type_traits>

#include "support/sequence_check.h"

namespace Soak {

struct Tally {
    struct Count {
        uint64_t received = 0;
        uint64_t lost = 0;
    };
    Count records;
    /// Counted separately: a camera's queue holds one frame set, so a client that is not scheduled
    /// in time loses some, which is no fault.
    Count frameSets;
};

/// Threading: one thread at a time.
class Streams {
  public:
    /// @param tally what is received is added to it
    explicit Streams(Tally& tally) : tally_(tally) {}

    /// @param queueSize 0 for a stream whose queue has its own
    template <typename Data>
    void add(Vek::Sensors::IDataStream<Data>& stream, size_t queueSize) {
        if (queueSize > 0) {
            stream.setQueueSize(queueSize);
        }
        stream.setCallbackv(
            [this, &count = counts_.emplace_back(0), check = TestSupport::SequenceCheck<Data>()](
                typename Vek::Sensors::IDataStream<Data>::Batch spans) mutable {
                constexpr bool kIsCamera = std::is_same_v<Data, Vek::Sensors::FrameSet>;
                Tally::Count& sum = kIsCamera ? tally_.frameSets : tally_.records;
                const uint64_t lostBefore = check.lost();
                for (const auto& span : spans) {
                    for (const Data& record : span) {
                        check.take(record);
                        ++count;
                        ++sum.received;
                    }
                }
                sum.lost += check.lost() - lostBefore;
            });
        stream.addTo(*composite_);
    }

    void receiveUntil(std::chrono::steady_clock::time_point deadline) {
        composite_->waitUntil(deadline);
    }

    /// Records of the stream that had the fewest, or the most, so far.
    uint64_t fewest() const {
        return counts_.empty() ? 0 : *std::min_element(counts_.begin(), counts_.end());
    }
    uint64_t most() const {
        return counts_.empty() ? 0 : *std::max_element(counts_.begin(), counts_.end());
    }

  private:
    std::unique_ptr<Vek::Sensors::ICompositeStream> composite_ =
        Vek::Sensors::createStreamCompositor()->createCompositeStream("soak");
    std::deque<uint64_t> counts_;
    Tally& tally_;
};

}  // namespace Soak
