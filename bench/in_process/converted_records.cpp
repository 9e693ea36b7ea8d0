// A batch of records that are converted for the client, against a plain loop of the same copies.
#include <fmq/MessageQueue.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "controller/convert.h"
#include "in_process/data_path.h"
#include "stream/callback_storage.h"

namespace Bench {
namespace {

using Vek::Sensors::ButtonData;
using HidlButtonData = Vek::Sensors::Hidl::ButtonData;
using Spans = gsl::span<const gsl::span<const ButtonData>>;
using Queue =
    android::hardware::MessageQueue<HidlButtonData, android::hardware::kSynchronizedReadWrite>;

const void* seen = nullptr;

void use(Spans spans) {
    for (const auto& span : spans) {
        touch(span.data(), span.size());
    }
    seen = spans[0].data();
}

Passes convertBatches(size_t batch) {
    return [storage = Vek::Sensors::HidlWrapper::CallbackStorage<ButtonData, HidlButtonData>{use},
            records = std::vector<HidlButtonData>(batch)](size_t times) mutable -> const void* {
        for (size_t i = 0; i < times; ++i) {
            storage.deliver(Queue::MemTransaction{Queue::MemRegion{records.data(), records.size()},
                                                  Queue::MemRegion{}});
        }
        return seen;
    };
}

ButtonData copyFields(const HidlButtonData& from) {
    auto to = ButtonData();
    to.header = {Vek::Sensors::ControllerAddr{from.header.controller.address},
                 from.header.timestamp, from.header.arrivalTimestamp, from.header.sequence};
    to.pressed = from.pressed;
    to.touched = from.touched;
    to.approached = from.approached;
    to.trigger = from.trigger;
    to.grip = from.grip;
    to.thumbstick = from.thumbstick;
    return to;
}

/// With the same places for the results: the stack, and the heap for what does not fit there.
Passes copyBatches(size_t batch) {
    return [callback = std::function<void(Spans)>{use},
            records = std::vector<HidlButtonData>(batch)](size_t times) -> const void* {
        constexpr size_t kFixed =
            Vek::Sensors::HidlWrapper::RecordConversion<ButtonData>::kFixedRecords;
        const size_t inFixed = std::min(records.size(), kFixed);
        const size_t inRest = records.size() - inFixed;
        const HidlButtonData* const source = records.data();
        for (size_t i = 0; i < times; ++i) {
            alignas(ButtonData) std::byte storage[sizeof(ButtonData) * kFixed];
            auto* const fixed = reinterpret_cast<ButtonData*>(storage);
            for (size_t k = 0; k < inFixed; ++k) {
                fixed[k] = copyFields(source[k]);
            }
            auto* const rest = static_cast<ButtonData*>(
                inRest == 0 ? nullptr : ::operator new(sizeof(ButtonData) * inRest));
            for (size_t k = 0; k < inRest; ++k) {
                rest[k] = copyFields(source[kFixed + k]);
            }
            const std::array<gsl::span<const ButtonData>, 2> spans{
                gsl::span<const ButtonData>{fixed, inFixed},
                gsl::span<const ButtonData>{rest, inRest}};
            callback(spans);
            ::operator delete(rest);
        }
        return seen;
    };
}

}  // namespace

std::vector<DataPath> convertedRecordPaths() {
    std::vector<DataPath> paths;
    for (const size_t batch : {1U, 8U, 32U}) {
        const size_t bytes = batch * sizeof(ButtonData);
        const std::string baseline = fmt::format("copy the fields of {} button records", batch);
        paths.push_back({baseline, "", {}, bytes, [batch] { return copyBatches(batch); }});
        paths.push_back({fmt::format("convert {} button records", batch), baseline, ratioOf(1.2),
                         bytes, [batch] { return convertBatches(batch); }});
    }
    return paths;
}

}  // namespace Bench
