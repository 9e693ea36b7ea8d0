// One wait that finds some of its streams ready: the others must cost nothing.
#include <fmt/format.h>
#include <vek/sensors/motion.h>

#include <deque>

#include "foundation/hal.h"
#include "in_process/data_path.h"
#include "in_process/played_stream.h"

namespace Bench {
namespace {

using Vek::Sensors::ImuData;

struct Setup {
    Vek::Sensors::HidlWrapper::CompositeStream composite{"benchmark"};
    std::deque<PlayedStream<ImuData, Vek::Sensors::Hidl::ImuData>> streams;
};

/// The last ones are ready: the farthest ones for a wait that looks through all.
Passes waitForStreams(size_t added, size_t ready) {
    const auto setup = std::make_shared<Setup>();
    while (setup->streams.size() < added) {
        setup->streams.emplace_back(setup->composite);
    }
    const size_t first = added - ready;
    const uint32_t bits = ((1U << ready) - 1U) << first;
    return [=](size_t times) -> const void* {
        for (size_t i = 0; i < times; ++i) {
            for (size_t k = first; k < added; ++k) {
                setup->streams[k].publish(1);
            }
            // All bits at once, and no futex: nobody waits yet.
            setup->streams.front().eventFlagWord().fetch_or(bits, std::memory_order_release);
            setup->composite.wait();
        }
        return setup->streams.back().seen;
    };
}

DataPath waitPath(size_t added, size_t ready) {
    const auto nameOf = [ready](size_t streams) {
        return fmt::format("wait() with {} of {} streams ready", ready, streams);
    };
    const bool isBaseline = added == ready;
    return {nameOf(added), isBaseline ? "" : nameOf(ready),
            isBaseline ? std::nullopt : std::optional(ratioOf(1.1)), ready * sizeof(ImuData),
            [=] { return waitForStreams(added, ready); }};
}

}  // namespace

std::vector<DataPath> compositeWaitPaths() {
    return {waitPath(1, 1), waitPath(4, 4), waitPath(15, 1), waitPath(15, 4), waitPath(15, 15)};
}

}  // namespace Bench
