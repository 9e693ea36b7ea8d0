// What is missing of a stream, by the numbers of its records.
#pragma once

#include <vek/sensors/controller_records.h>

#include <cstdint>
#include <map>

namespace TestSupport {

template <typename Data>
const Data& numberedPart(const Data& record) {
    return record;
}
inline const auto& numberedPart(const Vek::Sensors::ButtonData& record) {
    return record.header;
}

/// The controller of a record that names one; `preferred` is 0.
template <typename Data>
auto controllerOf(const Data& record, int /*preferred*/) -> decltype(record.controller) {
    return record.controller;
}
template <typename Data>
Vek::Sensors::ControllerAddr controllerOf(const Data& /*record*/, long /*otherwise*/) {
    return {};
}

/// Follows the numbers of one stream's records, for each controller on its own.
template <typename Data>
class SequenceCheck {
  public:
    void take(const Data& record) {
        const auto& part = numberedPart(record);
        const auto number = part.sequence;
        const auto [last, isFirst] = last_.emplace(controllerOf(part, 0), number);
        lost_ += isFirst ? 0 : static_cast<decltype(number)>(number - last->second - 1);
        last->second = number;
    }

    /// Records that were left out; one that comes again counts as billions.
    uint64_t lost() const { return lost_; }

  private:
    std::map<Vek::Sensors::ControllerAddr, uint64_t> last_;
    uint64_t lost_ = 0;
};

}  // namespace TestSupport
