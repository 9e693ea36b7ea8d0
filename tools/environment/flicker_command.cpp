// sensorctl flicker
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>

#include "commands.h"
#include "environment/flicker_estimate.h"
#include "environment/light_sensor.h"
#include "failure.h"
#include "output.h"
#include "waiter.h"

using namespace Vek::Sensors;

namespace {

/// The light sensor and its latest records.
class FlickerView {
  public:
    FlickerView(const Shutdown& shutdown, Waiter& waiter)
        : shutdown_(shutdown),
          waiter_(waiter),
          sensor_(requireService(findLightSensor(), "IFlickerSensor")) {
        listen(sensor_->flickerStream(),
               [this](const FlickerData& record) { frequency_ = record.frequency; });
        listen(sensor_->ambientLightStream(),
               [this](const AmbientLightData& record) { illuminance_ = record.illuminance; });
        // Added last, so that the other streams are read before a block is shown.
        listen(sensor_->adcFlickerStream(), [this](const AdcFlickerData& block) { show(block); });
        sensor_->flickerStart();
        sensor_->ambientLightStart();
        sensor_->adcFlickerStart();
    }
    ~FlickerView() {
        if (!shutdown_.isServiceDead()) {
            sensor_->adcFlickerStop();
            sensor_->ambientLightStop();
            sensor_->flickerStop();
        }
    }
    FlickerView(const FlickerView&) = delete;
    FlickerView& operator=(const FlickerView&) = delete;

  private:
    template <typename Data, typename Receive>
    void listen(IDataStream<Data>& stream, Receive receive) {
        stream.setCallbackv([receive](typename IDataStream<Data>::Batch spans) {
            for (const auto& span : spans) {
                for (const Data& record : span) {
                    receive(record);
                }
            }
        });
        stream.addTo(*waiter_.composite());
    }

    void show(const AdcFlickerData& block) const {
        const auto estimate = estimateFlicker(samplesOf(block), block.sampleRate);
        const auto text = [](const std::optional<float>& value, const char* unit) {
            return value ? fmt::format("{:8.2f} {}", *value, unit)
                         : fmt::format("{:>8} {}", "-", unit);
        };
        const bool isSaturated = (block.status & LIGHT_SAMPLE_SATURATED) != 0;
        const auto orNull = [](const std::optional<float>& value) {
            return value ? Json(*value) : Json();
        };
        Output::print(
            fmt::format("{}  {}  the sensor says {}{}",
                        estimate ? fmt::format("{:8.2f} Hz  depth {:3.0f} %", estimate->frequency,
                                               100 * estimate->modulationDepth)
                                 : fmt::format("{:<24}", "  steady"),
                        text(illuminance_, "lx"), text(frequency_, "Hz"),
                        isSaturated ? "  saturated" : ""),
            {{"timestamp_ns", block.timestamp},
             {"frequency_hz", estimate ? Json(estimate->frequency) : Json()},
             {"modulation_depth", estimate ? Json(estimate->modulationDepth) : Json()},
             {"illuminance_lx", orNull(illuminance_)},
             {"sensor_frequency_hz", orNull(frequency_)},
             {"is_saturated", isSaturated}});
    }

    const Shutdown& shutdown_;
    Waiter& waiter_;
    std::unique_ptr<IFlickerSensorProvider> sensor_;
    std::optional<float> frequency_;
    std::optional<float> illuminance_;
};

void showFlicker(const std::optional<double>& durationSeconds) {
    Shutdown shutdown(kShutdownGrace);
    Waiter waiter(shutdown);
    const FlickerView view(shutdown, waiter);
    waiter.until(deadlineAfter(durationSeconds));
    shutdown.requireService();
}

}  // namespace

void addFlickerCommand(CLI::App& app) {
    const auto duration = std::make_shared<std::optional<double>>();
    CLI::App& command = *app.add_subcommand(
        "flicker",
        "Print the flicker that is in the light sensor's samples, block by block, beside the\n"
        "illuminance and what the sensor itself makes of the flicker");
    addDurationOption(command, *duration);
    command.callback([duration] { showFlicker(*duration); });
}
