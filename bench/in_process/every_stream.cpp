// A batch of each of the streams that the library reads: what it allocates and copies.
#include <fmt/format.h>
#include <vek/sensors/external_timing.h>
#include <vek/sensors/flicker.h>
#include <vek/sensors/frame_set.h>
#include <vek/sensors/motion.h>
#include <vendor/zelvan/hardware/sensors/1.0/methods.h>

#include <string>
#include <vector>

#include "controller/convert.h"
#include "in_process/data_path.h"
#include "in_process/played_stream.h"

namespace Bench {
namespace {

/// A batch fills the queue, so that each lies in the ring as the first one does.
/// @param wrapped how many of the records lie at the ring's beginning, behind those at its end
template <typename Data, typename HidlData>
DataPath pathOf(const std::string& record, size_t batch, size_t wrapped, unsigned allocations) {
    const char* const place = wrapped == 0 ? "" : " in two regions";
    return {fmt::format("{} {}{}", batch, record, place),
            "",
            {},
            batch * sizeof(Data),
            passesOf<PlayedBatches<Data, HidlData>>(batch, batch, wrapped),
            DataPath::Figure::kCountsAlone,
            allocations};
}

template <typename Data, typename HidlData>
void addPaths(const std::string& record, std::vector<DataPath>* paths) {
    constexpr size_t kFixed = Vek::Sensors::HidlWrapper::RecordConversion<Data>::kFixedRecords;
    if constexpr (kFixed == 0) {
        paths->push_back(pathOf<Data, HidlData>(record, 32, 16, 0));
    } else {
        paths->push_back(pathOf<Data, HidlData>(record, kFixed, kFixed / 2, 0));
        paths->push_back(pathOf<Data, HidlData>(record, kFixed + 1, 0, 1));
        // Of each region, some do not fit into the fixed part.
        paths->push_back(pathOf<Data, HidlData>(record, 4 * kFixed, 2 * kFixed, 2));
    }
}

/// Frame sets take a way of their own.
template <>
void addPaths<Vek::Sensors::FrameSet, Vek::Sensors::Hidl::FrameSet>(const std::string& /*record*/,
                                                                    std::vector<DataPath>*) {}

}  // namespace

std::vector<DataPath> everyStreamPaths() {
    std::vector<DataPath> paths;
#define ADD_PATHS(Record) \
    addPaths<Vek::Sensors::Record, Vek::Sensors::Hidl::Record>(#Record, &paths);
    HAL_QUEUED_RECORDS(ADD_PATHS)
#undef ADD_PATHS
    return paths;
}

}  // namespace Bench
