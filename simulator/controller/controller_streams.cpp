#include "controller/controller_streams.h"

namespace Simulator {

ControllerStreams::ControllerStreams(const std::shared_ptr<Faults>& faults)
    : stateChanges(
          new StreamClients<Hidl::PairedControllerInfo>("controller state changes", faults)),
      curl(new StreamClients<Hidl::CurlData>("controller curl", faults)),
      imu(new StreamClients<Hidl::ControllerImuData>("controller IMU", faults)),
      buttons(new StreamClients<Hidl::ButtonData>("controller buttons", faults)),
      precisionPad(new StreamClients<Hidl::PrecisionPadData>("controller precision pad", faults)),
      multiTouch(new StreamClients<Hidl::MultiTouchData>("controller multi touch", faults)),
      stylus(new StreamClients<Hidl::StylusData>("controller stylus", faults)),
      wirelessStats(
          new StreamClients<Hidl::WirelessDeviceStats>("controller wireless statistics", faults)),
      poses(new StreamClients<Hidl::PoseInput>("controller poses", faults)),
      adc(new StreamClients<Hidl::ControllerInputADCData>("controller ADC", faults)),
      collisions(
          new StreamClients<Hidl::ControllerCollisionEvent>("controller collisions", faults)),
      haptics(new StreamClients<Hidl::HapticsState>("haptics states", faults)),
      wirelessStates(
          new StreamClients<Hidl::WirelessStateTransition>("wireless state transitions", faults)),
      inputs(new StreamClients<Hidl::ControllerInputData>("controller inputs", faults)) {}

bool ControllerStreams::awaitRoom(size_t controllers) const {
    constexpr size_t kInputsOfOne = 5;
    const auto await = [controllers](const auto&... streams) {
        return (streams->awaitRoom(controllers) && ...);
    };
    return inputs->awaitRoom(controllers * kInputsOfOne) &&
           await(stateChanges, curl, buttons, precisionPad, multiTouch, stylus, wirelessStats,
                 poses, adc, collisions, haptics, wirelessStates);
}

void ControllerStreams::endWaits() const {
    forEach([](const auto& stream) { stream->endWaits(); });
}

void ControllerStreams::onChange(const std::function<void()>& function) const {
    forEach([&function](const auto& stream) {
        stream->onBatchLimit([function](size_t /*limit*/) { function(); });
    });
}

std::vector<std::string> ControllerStreams::summary() const {
    std::vector<std::string> lines;
    forEach([&lines](const auto& stream) { lines.push_back(summaryOf(*stream)); });
    return lines;
}

}  // namespace Simulator
