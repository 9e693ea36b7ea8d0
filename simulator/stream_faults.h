// Applies the faults of a stream to its records for one client.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/fields.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <deque>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "faults.h"

namespace Simulator {

/// Calls `action` with the name and value of each number in the record, including nested arrays and
/// records.
template <typename Value, typename Action>
void eachNumber(std::string_view name, Value& value, const Action& action) {
    if constexpr (std::is_arithmetic_v<Value>) {
        action(name, value);
    } else if constexpr (HalTable::kIsArray<Value>) {
        for (size_t i = 0; i < value.size(); ++i) {
            eachNumber(name, value[i], action);
        }
    } else if constexpr (HalTable::FieldsOf<Value>::kAreKnown) {
        HalTable::FieldsOf<Value>::visit(value, [&](std::string_view fieldName, auto& field) {
            eachNumber(fieldName, field, action);
        });
    }
}

/// Threading: one thread at a time.
template <typename Record>
class StreamFaults {
  public:
    using Records = std::vector<Record>;
    using Time = std::chrono::steady_clock::time_point;

    /// Whether records are delayed, one is repeated, or numbers are shifted.
    bool isBusy() const { return !delayed_.empty() || stuck_ || sequenceOffset_; }

    /// @param isKept predicate for each record, by its number from 1; false drops it
    /// @return the batches to write now, none of them empty
    template <typename IsKept>
    std::vector<Records> apply(const StreamEffects& effects, Records records, Time now,
                               const IsKept& isKept);

  private:
    void spoil(const StreamEffects& effects, Record* record);
    void shiftNumbers(Record* record);

    std::deque<std::pair<Time, Records>> delayed_;
    std::optional<Record> stuck_;
    // Offsets that make sequence numbers and clocks wrap soon.
    std::optional<uint64_t> sequenceOffset_;
    std::optional<uint64_t> clockOffset_;
    uint64_t records_ = 0;
};

template <typename Record>
template <typename IsKept>
auto StreamFaults<Record>::apply(const StreamEffects& effects, Records records, Time now,
                                 const IsKept& isKept) -> std::vector<Records> {
    if (effects.isStopped) {
        records.clear();
    }
    if (!effects.isStuck) {
        stuck_.reset();
    }
    if (!effects.isWrapped) {
        sequenceOffset_.reset();
        clockOffset_.reset();
    }
    for (Record& record : records) {
        spoil(effects, &record);
    }
    records.erase(std::remove_if(records.begin(), records.end(),
                                 [&](const Record&) { return !isKept(++records_); }),
                  records.end());
    delayed_.emplace_back(now + effects.delay, std::move(records));
    std::vector<Records> due;
    while (!delayed_.empty() &&
           (delayed_.front().first <= now || effects.delay == std::chrono::nanoseconds::zero())) {
        if (!delayed_.front().second.empty()) {
            due.push_back(std::move(delayed_.front().second));
        }
        delayed_.pop_front();
    }
    return due;
}

template <typename Record>
void StreamFaults<Record>::spoil(const StreamEffects& effects, Record* record) {
    if (effects.isStuck) {
        stuck_ = stuck_ ? stuck_ : *record;
        *record = *stuck_;
        return;
    }
    if (effects.isWrapped) {
        shiftNumbers(record);
    }
    bool isClipped = false;
    eachNumber("", *record, [&](std::string_view name, auto& value) {
        using Number = std::decay_t<decltype(value)>;
        if constexpr (std::is_floating_point_v<Number>) {
            // Does not clip fields for ranges: those are properties, not readings.
            if (effects.limit && name.find("Range") == std::string_view::npos) {
                const auto limit = static_cast<Number>(*effects.limit);
                isClipped = isClipped || value > limit || value < -limit;
                value = std::clamp(value, -limit, limit);
            }
            value = effects.isNotANumber ? std::numeric_limits<Number>::quiet_NaN() : value;
        } else if constexpr (std::is_same_v<Number, int64_t>) {
            constexpr std::string_view kClock = "imestamp";
            if (name.size() >= kClock.size() &&
                name.substr(name.size() - kClock.size()) == kClock) {
                value += effects.jump.count();
            }
        }
    });
    constexpr bool tells = std::is_same_v<Record, Hidl::ImuData> ||
                           std::is_same_v<Record, Hidl::MagData> ||
                           std::is_same_v<Record, Hidl::ControllerImuData>;
    if constexpr (tells) {
        record->status |= isClipped ? static_cast<uint32_t>(Hidl::MotionSampleStatus::CLIPPED) : 0U;
    }
}

/// Chosen so that the first of these records is the hundredth before the wrap.
template <typename Record>
void StreamFaults<Record>::shiftNumbers(Record* record) {
    constexpr uint64_t kBeforeWrap = 100;           // records
    constexpr uint64_t kClockBeforeWrap = 200'000;  // us, at 500 Hz
    const auto shift = [](std::optional<uint64_t>* offset, uint64_t left, auto* value) {
        *offset = *offset ? **offset : uint64_t{0} - *value - left;
        *value = static_cast<std::decay_t<decltype(*value)>>(*value + **offset);
    };
    eachNumber("", *record, [&](std::string_view name, auto& value) {
        using Number = std::decay_t<decltype(value)>;
        if constexpr (std::is_unsigned_v<Number> && sizeof(Number) >= sizeof(uint32_t)) {
            if (name == "sequence") {
                shift(&sequenceOffset_, kBeforeWrap, &value);
            } else if (name == "controllerTime") {
                shift(&clockOffset_, kClockBeforeWrap, &value);
            }
        }
    });
}

}  // namespace Simulator
