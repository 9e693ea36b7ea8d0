// Records of any content, as sensorctl writes them: rows that are read back as what they were, JSON
// that is JSON, and words for people.
#include <fmt/format.h>

#include <cstdint>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string>

#include <algorithm>

#include "camera/camera_fields.h"
#include "controller/controller_fields.h"
#include "environment/environment_fields.h"
#include "motion/motion_fields.h"
#include "target.h"

namespace {

using namespace Vek::Sensors;

template <typename Record>
std::string rowOf(const Record& record) {
    fmt::memory_buffer row;
    Recording::fieldsOf<Record>().appendRow(row, record);
    return fmt::to_string(row);
}

/// Sets of bits hold no more than their bits: the library makes them of numbers.
template <typename... Sets>
void tidySets(Sets&... sets) {
    ((sets &= Sets{}.set()), ...);
}
template <typename Record>
void tidy(Record& /*record*/) {}
void tidy(ButtonData& record) {
    tidySets(record.pressed, record.touched, record.approached);
}
void tidy(PairedControllerInfo& record) {
    tidySets(record.features);
}

template <typename Record>
void check(FuzzedDataProvider& input) {
    const auto& fields = Recording::fieldsOf<Record>();
    Record record;
    std::memset(static_cast<void*>(&record), 0, sizeof(record));
    input.ConsumeData(&record, sizeof(record));
    tidy(record);

    fmt::memory_buffer json;
    fields.appendJson(json, record);
    const auto object = nlohmann::json::parse(json.data(), json.data() + json.size());
    VEK_ALWAYS_ASSERT(object.size() == fields.columns().size());

    Record again;
    std::memset(static_cast<void*>(&again), 0, sizeof(again));
    for (const auto& column : fields.columns()) {
        fmt::memory_buffer cell;
        column.append(record, cell);
        const bool isLeftOut = cell.size() == 0 && column.kind == Recording::CellKind::NUMBER;
        VEK_ALWAYS_ASSERT(isLeftOut || column.read({cell.data(), cell.size()}, again));
    }
    VEK_ALWAYS_ASSERT(rowOf(again) == rowOf(record));

    const std::string words = fields.describe(record);
    VEK_ALWAYS_ASSERT(std::none_of(words.begin(), words.end(), [](char character) {
        return static_cast<unsigned char>(character) < ' ';
    }));
}

constexpr void (*kChecks[])(FuzzedDataProvider&){
    check<ImuData>,
    check<MagData>,
    check<IadData>,
    check<FrameSet>,
    check<PairedControllerInfo>,
    check<ControllerImuData>,
    check<ButtonData>,
    check<CurlData>,
    check<PrecisionPadData>,
    check<MultiTouchData>,
    check<StylusData>,
    check<ControllerInputADCData>,
    check<PoseInput>,
    check<ControllerCollisionEvent>,
    check<WirelessDeviceStats>,
    check<FlickerData>,
    check<AdcFlickerData>,
    check<AmbientLightData>,
    check<ExternalTimestampData>,
};

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input{data, size};
    input.PickValueInArray(kChecks)(input);
    return 0;
}
