// Records of any content, as sensorctl writes them: CSV rows must read back unchanged, and JSON
// must be valid.
#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string>
#include <type_traits>
#include <vector>

#include "support/shown_records.h"
#include "target.h"

namespace {

using namespace Vek::Sensors;
using TestSupport::rowOf;

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

using Check = void (*)(FuzzedDataProvider&);

std::vector<Check> checks() {
    std::vector<Check> checks;
    TestSupport::forEachShownRecord(
        [&checks](const auto& record) { checks.push_back(check<std::decay_t<decltype(record)>>); });
    return checks;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input{data, size};
    static const std::vector<Check> all = checks();
    all[input.ConsumeIntegralInRange<size_t>(0, all.size() - 1)](input);
    return 0;
}
