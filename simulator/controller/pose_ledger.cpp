#include "controller/pose_ledger.h"

#include <algorithm>
#include <cmath>

namespace Simulator {

PoseCounts& PoseCounts::operator+=(const PoseCounts& other) {
    accepted += other.accepted;
    refused += other.refused;
    misordered += other.misordered;
    missing += other.missing;
    return *this;
}

bool isPose(const Hidl::PoseOutput& pose) {
    constexpr float kTolerance = 1e-3F;
    float square = 0;
    for (size_t i = 0; i < 4; ++i) {
        square += pose.orientation[i] * pose.orientation[i];
    }
    const auto isFinite = [](const auto& vector) {
        return std::all_of(vector.data(), vector.data() + vector.size(),
                           [](float value) { return std::isfinite(value); });
    };
    // Written so that NaN is refused.
    return std::abs(square - 1) < kTolerance && pose.confidence >= 0 && pose.confidence <= 1 &&
           isFinite(pose.position) && isFinite(pose.linearVelocity) &&
           isFinite(pose.angularVelocity) && isFinite(pose.linearAcceleration) &&
           isFinite(pose.angularAcceleration);
}

void PoseLedger::enter(const Hidl::PoseOutput& pose) {
    const auto [entry, isFirst] = last_.emplace(pose.controller.address, pose.sequence);
    if (!isFirst) {
        const uint32_t step = pose.sequence - entry->second;
        if (step == 0 || step > UINT32_MAX / 2) {
            ++counts_.misordered;
        } else {
            counts_.missing += step - 1;
        }
        entry->second = pose.sequence;
    }
    ++counts_.accepted;
}

}  // namespace Simulator
