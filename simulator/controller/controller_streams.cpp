// See controller_streams.h.
#include "controller/controller_streams.h"

namespace Simulator {

ControllerStreams::ControllerStreams(const std::shared_ptr<Faults>& faults)
    : stateChanges(std::make_shared<StreamClients<Hal::PairedControllerInfo>>(
          "controller state changes", faults)),
      curl(std::make_shared<StreamClients<Hal::CurlData>>("controller curl", faults)),
      imu(std::make_shared<StreamClients<Hal::ControllerImuData>>("controller IMU", faults)),
      buttons(std::make_shared<StreamClients<Hal::ButtonData>>("controller buttons", faults)),
      precisionPad(std::make_shared<StreamClients<Hal::PrecisionPadData>>(
          "controller precision pad", faults)),
      multiTouch(
          std::make_shared<StreamClients<Hal::MultiTouchData>>("controller multi touch", faults)),
      stylus(std::make_shared<StreamClients<Hal::StylusData>>("controller stylus", faults)),
      wirelessStats(std::make_shared<StreamClients<Hal::WirelessDeviceStats>>(
          "controller wireless statistics", faults)),
      poses(std::make_shared<StreamClients<Hal::PoseInput>>("controller poses", faults)),
      adc(std::make_shared<StreamClients<Hal::ControllerInputADCData>>("controller ADC", faults)),
      collisions(std::make_shared<StreamClients<Hal::ControllerCollisionEvent>>(
          "controller collisions", faults)),
      haptics(std::make_shared<StreamClients<Hal::HapticsState>>("haptics states", faults)),
      wirelessStates(std::make_shared<StreamClients<Hal::WirelessStateTransition>>(
          "wireless state transitions", faults)),
      inputs(
          std::make_shared<StreamClients<Hal::ControllerInputData>>("controller inputs", faults)) {}

std::vector<std::string> ControllerStreams::summary() const {
    return {summaryOf(*stateChanges),
            summaryOf(*curl),
            summaryOf(*imu),
            summaryOf(*buttons),
            summaryOf(*precisionPad),
            summaryOf(*multiTouch),
            summaryOf(*stylus),
            summaryOf(*wirelessStats),
            summaryOf(*poses),
            summaryOf(*adc),
            summaryOf(*collisions),
            summaryOf(*haptics),
            summaryOf(*wirelessStates),
            summaryOf(*inputs)};
}

}  // namespace Simulator
