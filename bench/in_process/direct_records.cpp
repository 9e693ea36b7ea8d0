// A batch of records that the client sees in the queue itself, against touching the same bytes.
#include <fmt/format.h>
#include <vek/sensors/motion.h>

#include "foundation/hal.h"
#include "in_process/data_path.h"
#include "in_process/played_stream.h"

namespace Bench {
namespace {

using Vek::Sensors::ImuData;

struct Setup {
    Vek::Sensors::HidlWrapper::CompositeStream composite{"benchmark"};
    PlayedStream<ImuData, Vek::Sensors::Hidl::ImuData> stream{composite};
};

Passes readBatches(size_t batch) {
    return [batch, setup = std::make_shared<Setup>()](size_t times) -> const void* {
        for (size_t i = 0; i < times; ++i) {
            setup->stream.publish(batch);
            setup->stream.handle.read();
        }
        return setup->stream.seen;
    };
}

Passes touchBatches(size_t batch) {
    return [batch, setup = std::make_shared<Setup>(),
            position = size_t{0}](size_t times) mutable -> const void* {
        const auto* const records = setup->stream.records();
        for (size_t i = 0; i < times; ++i) {
            setup->stream.publish(batch);
            touch(records + position, batch);
            position = (position + batch) % decltype(setup->stream)::Handle::kDefaultQueueSize;
        }
        return records;
    };
}

}  // namespace

std::vector<DataPath> directRecordPaths() {
    std::vector<DataPath> paths;
    for (const size_t batch : {1U, 8U, 32U}) {
        const size_t bytes = batch * sizeof(ImuData);
        const std::string baseline = fmt::format("touch {} IMU records in place", batch);
        paths.push_back({baseline, "", {}, bytes, [batch] { return touchBatches(batch); }});
        paths.push_back({fmt::format("read() of {} IMU records", batch), baseline, differenceOf(30),
                         bytes, [batch] { return readBatches(batch); }});
    }
    return paths;
}

}  // namespace Bench
