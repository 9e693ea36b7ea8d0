#include "motion/sensor_services.h"

#include <algorithm>
#include <cstdint>

namespace Simulator {

std::optional<SamplingPlan> planFor(const Hidl::MotionStreamProperties& properties,
                                    const SensorCapabilities& capabilities) {
    constexpr uint32_t kMaxBatchSize = 256;
    const auto [defaultRate, defaultBatchSize] = capabilities.defaultPlan;
    const uint32_t rate = properties.sampleRate == 0 ? defaultRate : properties.sampleRate;
    const uint32_t largestBatch = std::min(rate, kMaxBatchSize);
    const uint32_t batchSize =
        properties.batchSize == 0 ? std::min(defaultBatchSize, largestBatch) : properties.batchSize;
    if (rate > capabilities.maxSampleRate || batchSize > largestBatch) {
        return std::nullopt;
    }
    return SamplingPlan{rate, batchSize};
}

}  // namespace Simulator
