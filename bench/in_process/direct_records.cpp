// Records that the client sees in the queue itself: batches of small ones against touching the same
// bytes in place, and the largest, from the service's write on, against a bare copy.
#include <fmt/format.h>
#include <vek/sensors/flicker.h>
#include <vek/sensors/motion.h>

#include <cstring>
#include <string>
#include <vector>

#include "foundation/hal.h"
#include "in_process/data_path.h"
#include "in_process/played_stream.h"

namespace Bench {
namespace {

namespace Hidl = Vek::Sensors::Hidl;
using Vek::Sensors::AdcFlickerData;
using Vek::Sensors::ImuData;

template <typename Data, typename HidlData>
class Setup {
  protected:
    static constexpr size_t kQueueSize = PlayedStream<Data, HidlData>::Handle::kDefaultQueueSize;

    Vek::Sensors::HidlWrapper::CompositeStream composite_{"benchmark"};
    PlayedStream<Data, HidlData> stream_{composite_};
    /// Of the record that is next for those who do without the queue's counters.
    size_t position_ = 0;
};

class TouchedBatches : Setup<ImuData, Hidl::ImuData> {
  public:
    explicit TouchedBatches(size_t batch) : batch_(batch) {}

    const void* pass() {
        stream_.publish(batch_);
        touch(stream_.records() + position_, batch_);
        position_ = (position_ + batch_) % kQueueSize;
        return stream_.records();
    }

  private:
    const size_t batch_;
};

/// What is the benchmark's own of a read(): the writer's counter, and a client behind a function.
class CalledClient : Setup<ImuData, Hidl::ImuData> {
  public:
    explicit CalledClient(size_t batch) : batch_(batch) {}

    const void* pass() {
        stream_.publish(batch_);
        const gsl::span<const ImuData> span(reinterpret_cast<const ImuData*>(stream_.records()),
                                            batch_);
        stream_.touchAll({&span, 1});
        return stream_.seen;
    }

  private:
    const size_t batch_;
};

/// For a client that does nothing with them, so that the way to it is all that counts.
class StreamedBlocks : Setup<AdcFlickerData, Hidl::AdcFlickerData> {
  public:
    StreamedBlocks() {
        stream_.handle.setCallbackv([this](auto spans) { stream_.seen = spans[0].data(); });
    }

    const void* pass() {
        stream_.write(block_);
        stream_.handle.read();
        return stream_.seen;
    }

  private:
    const Hidl::AdcFlickerData block_{};
};

/// To where the others are written.
class CopiedBlocks : Setup<AdcFlickerData, Hidl::AdcFlickerData> {
  public:
    const void* pass() {
        std::memcpy(stream_.records() + position_, &block_, sizeof(block_));
        benchmark::ClobberMemory();
        position_ = (position_ + 1) % kQueueSize;
        return stream_.records();
    }

  private:
    const Hidl::AdcFlickerData block_{};
};

}  // namespace

std::vector<DataPath> directRecordPaths() {
    std::vector<DataPath> paths;
    for (const size_t batch : {1U, 8U, 32U}) {
        const size_t bytes = batch * sizeof(ImuData);
        const std::string baseline = fmt::format("touch {} ImuData in place", batch);
        paths.push_back({baseline, "", {}, bytes, passesOf<TouchedBatches>(batch)});
        paths.push_back({fmt::format("read() of {} ImuData", batch), baseline, differenceOf(30),
                         bytes, passesOf<PlayedBatches<ImuData, Hidl::ImuData>>(batch)});
    }
    paths.push_back({"the benchmark's own part of a read() of 1 ImuData",
                     "read() of 1 ImuData",
                     {},
                     sizeof(ImuData),
                     passesOf<CalledClient>(size_t{1})});
    const std::string baseline = "memcpy of an AdcFlickerData";
    constexpr size_t kBytes = sizeof(AdcFlickerData);
    constexpr auto kRate = DataPath::Figure::kRate;
    paths.push_back({baseline, "", {}, kBytes, passesOf<CopiedBlocks>(), kRate});
    paths.push_back({"write and read() of an AdcFlickerData",
                     baseline,
                     {},
                     kBytes,
                     passesOf<StreamedBlocks>(),
                     kRate});
    return paths;
}

}  // namespace Bench
