// The simulated cameras, their provider, and the services that offer them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "camera/camera_stream_service.h"
#include "device_group.h"
#include "faults.h"

namespace Simulator {

class CameraDevices : public DeviceGroup {
  public:
    /// @param source draws the images of all cameras
    CameraDevices(const std::vector<CameraStreamPlan>& plans,
                  const std::shared_ptr<ImageSource>& source, const std::shared_ptr<Faults>& faults,
                  const std::shared_ptr<WorldClock>& clock);

    /// In the order of the plans.
    const std::vector<android::sp<CameraStreamService>>& streams() const { return streams_; }

    std::string registerServices() override;
    void stop() override;
    std::vector<std::string> summary() const override;

  private:
    const std::shared_ptr<Faults> faults_;
    std::shared_ptr<MuxControl> mux_;
    std::vector<android::sp<CameraStreamService>> streams_;
};

}  // namespace Simulator
