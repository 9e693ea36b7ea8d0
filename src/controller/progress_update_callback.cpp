// Passes the progress of a firmware update to the client's function.
#include <functional>
#include <utility>

#include "controller/convert.h"

namespace Vek::Sensors::Convert {
namespace {

/// Called by the service on HIDL threads. Immutable.
class ProgressUpdateCallback : public Hidl::IProgressUpdateCallback {
  public:
    explicit ProgressUpdateCallback(std::function<void(float)> progress)
        : progress_(std::move(progress)) {}

    /// Throws if the function is empty; the API requires one.
    android::hardware::Return<Hidl::Result> handleProgressUpdate(float progress) override {
        progress_(progress);
        return Hidl::Result::SUCCESS;
    }

  private:
    const std::function<void(float)> progress_;
};

}  // namespace

Hidl::IControllerManagementClient::FWUpdateCallbackConfig intoHidl(
    const IControllerManagementClient::FWUpdateCallbackConfig& config) {
    // Zeroes the padding too: the service sees all bytes.
    auto result = Hidl::IControllerManagementClient::FWUpdateCallbackConfig();
    result.callback = new ProgressUpdateCallback(config.progress);
    result.minimumInterval = config.minimumInterval;
    result.minimumStep = config.minimumStep;
    return result;
}

}  // namespace Vek::Sensors::Convert
