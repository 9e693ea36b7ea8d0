#include "camera/camera_devices.h"

#include "camera/camera_provider_service.h"
#include "registration.h"

namespace Simulator {

CameraDevices::CameraDevices(const std::vector<CameraStreamPlan>& plans,
                             const std::shared_ptr<ImageSource>& source,
                             const std::shared_ptr<Faults>& faults,
                             const std::shared_ptr<WorldClock>& clock)
    : faults_(faults) {
    std::vector<android::sp<FrameSetServer>> servers;
    for (const CameraStreamPlan& plan : plans) {
        servers.push_back(new FrameSetServer(plan, source, faults, clock));
    }
    mux_ = std::make_shared<MuxControl>(servers, clock);
    for (const auto& server : servers) {
        streams_.push_back(makeService<CameraStreamService>(faults_, server, mux_));
    }
}

std::string CameraDevices::registerServices() {
    for (const auto& stream : streams_) {
        if (!stream->server()->isValid()) {
            return "there is no memory for the images of the " + stream->server()->plan().name;
        }
    }
    return registerAlone(makeService<CameraProviderService>(faults_, streams_, mux_, faults_));
}

void CameraDevices::stop() {
    for (const auto& stream : streams_) {
        stream->server()->stop();
    }
}

std::vector<std::string> CameraDevices::summary() const {
    std::vector<std::string> lines;
    for (const auto& stream : streams_) {
        lines.push_back(stream->server()->summary());
    }
    return lines;
}

}  // namespace Simulator
