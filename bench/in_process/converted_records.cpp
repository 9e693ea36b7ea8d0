// A batch of records that are converted for the client, against a plain loop of the same copies.
#include <fmq/MessageQueue.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "controller/convert.h"
#include "in_process/data_path.h"
#include "stream/callback_storage.h"

namespace Bench {
namespace {

namespace Hidl = Vek::Sensors::Hidl;
using namespace Vek::Sensors;

const void* seen = nullptr;

template <typename Data>
using Spans = typename IDataStream<Data>::Batch;

template <typename Data>
void use(Spans<Data> spans) {
    for (const auto& span : spans) {
        touch(span.data(), span.size());
    }
    seen = spans[0].data();
}

/// Every flag set, every text as long as it can be.
template <typename HidlData>
std::vector<HidlData> makeRecords(size_t batch) {
    std::vector<HidlData> records(batch);
    std::memset(static_cast<void*>(records.data()), 0x7F, batch * sizeof(HidlData));
    return records;
}

template <typename Data, typename HidlData>
class ConvertedBatches {
  public:
    explicit ConvertedBatches(size_t batch) : records_(makeRecords<HidlData>(batch)) {}

    const void* pass() {
        storage_.deliver(batch_);
        return seen;
    }

  private:
    using Queue =
        android::hardware::MessageQueue<HidlData, android::hardware::kSynchronizedReadWrite>;

    const HidlWrapper::CallbackStorage<Data, HidlData> storage_{use<Data>};
    std::vector<HidlData> records_;
    const typename Queue::MemTransaction batch_{{records_.data(), records_.size()}, {}};
};

// The baseline's copies.

ButtonData copyFields(const Hidl::ButtonData& from) {
    auto to = ButtonData();
    to.header = {ControllerAddr{from.header.controller.address}, from.header.timestamp,
                 from.header.arrivalTimestamp, from.header.sequence};
    to.pressed = from.pressed;
    to.touched = from.touched;
    to.approached = from.approached;
    to.trigger = from.trigger;
    to.grip = from.grip;
    to.thumbstick = from.thumbstick;
    return to;
}

MultiTouchData copyFields(const Hidl::MultiTouchData& from) {
    auto to = MultiTouchData();
    to.header.controller = ControllerAddr{from.header.controller.address};
    for (size_t i = 0; i < to.points.size(); ++i) {
        const Hidl::TouchPoint& point = from.points[i];
        to.points[i].touching = point.touching != 0;
        to.points[i].finger = point.finger & 3U;
        to.points[i].pressed = point.pressed != 0;
        to.points[i].x = point.x;
        to.points[i].y = point.y;
        to.points[i].force = point.force;
        to.points[i].majorAxis = point.majorAxis;
        to.points[i].minorAxis = point.minorAxis;
    }
    return to;
}

PairedControllerInfo copyFields(const Hidl::PairedControllerInfo& from) {
    const auto copyText = [](auto& to, const auto& text) {
        std::strncpy(to.data(), reinterpret_cast<const char*>(text.data()), to.size());
    };
    auto to = PairedControllerInfo();
    to.type = static_cast<ControllerType>(from.type);
    to.address = ControllerAddr{from.address.address};
    to.hand = static_cast<ControllerHand>(from.hand);
    to.connection = static_cast<ControllerConnection>(from.connection);
    to.batteryLevel = from.batteryLevel;
    to.batteryVoltage = from.batteryVoltage;
    copyText(to.name, from.name);
    copyText(to.model, from.model);
    copyText(to.serialNumber, from.serialNumber);
    copyText(to.hardwareVersion, from.hardwareVersion);
    copyText(to.firmwareVersion, from.firmwareVersion);
    to.features = from.features;
    to.factoryCalibration = from.factoryCalibration;
    to.temperature = from.temperature;
    return to;
}

/// With the same places for the results: the stack, and the heap for what does not fit there.
template <typename Data, typename HidlData>
class CopiedBatches {
  public:
    explicit CopiedBatches(size_t batch) : records_(makeRecords<HidlData>(batch)) {}

    const void* pass() {
        constexpr size_t kFixed = HidlWrapper::RecordConversion<Data>::kFixedRecords;
        const size_t inFixed = std::min(records_.size(), kFixed);
        const size_t inRest = records_.size() - inFixed;
        const HidlData* const source = records_.data();
        alignas(Data) std::byte storage[sizeof(Data) * kFixed];
        auto* const fixed = reinterpret_cast<Data*>(storage);
        for (size_t i = 0; i < inFixed; ++i) {
            new (fixed + i) Data(copyFields(source[i]));
        }
        auto* const rest =
            static_cast<Data*>(inRest == 0 ? nullptr : ::operator new(sizeof(Data) * inRest));
        for (size_t i = 0; i < inRest; ++i) {
            new (rest + i) Data(copyFields(source[kFixed + i]));
        }
        const std::array<gsl::span<const Data>, 2> spans{gsl::span<const Data>{fixed, inFixed},
                                                         gsl::span<const Data>{rest, inRest}};
        callback_(spans);
        ::operator delete(rest);
        return seen;
    }

  private:
    const std::function<void(Spans<Data>)> callback_{use<Data>};
    std::vector<HidlData> records_;
};

template <typename Data, typename HidlData>
void addPaths(const std::string& record, std::vector<DataPath>* paths) {
    constexpr size_t kFixed = HidlWrapper::RecordConversion<Data>::kFixedRecords;
    for (const size_t batch : {size_t{1}, kFixed, 4 * kFixed}) {
        const size_t bytes = batch * sizeof(Data);
        const std::string baseline = fmt::format("copy the fields of {} {}", batch, record);
        paths->push_back({baseline, "", {}, bytes, passesOf<CopiedBatches<Data, HidlData>>(batch)});
        paths->push_back({fmt::format("convert {} {}", batch, record), baseline, ratioOf(1.2),
                          bytes, passesOf<ConvertedBatches<Data, HidlData>>(batch)});
    }
}

}  // namespace

/// Of those that there are: one with sets of flags, one with packed bits, and the largest.
std::vector<DataPath> convertedRecordPaths() {
    std::vector<DataPath> paths;
    addPaths<ButtonData, Hidl::ButtonData>("ButtonData", &paths);
    addPaths<MultiTouchData, Hidl::MultiTouchData>("MultiTouchData", &paths);
    addPaths<PairedControllerInfo, Hidl::PairedControllerInfo>("PairedControllerInfo", &paths);
    return paths;
}

}  // namespace Bench
