// The control calls of the external time stamps. Records go through stream/stream_handle.h.
#include "environment/external_timing_provider.h"

#include <utility>

#include "os/bind_receiver.h"

namespace Vek::Sensors::HidlWrapper {

ExternalTimingProvider::ExternalTimingProvider(
    gsl::not_null<android::sp<Hidl::IExternalTimingProvider>> hal)
    : hal_(std::move(hal)),
      deathRecipient_(std::make_unique<HalDeathRecipient>(hal_.get())),
      externalTimestampStream_(
          OS::BindReceiver(hal_.get(), &Hidl::IExternalTimingProvider::prepareStream)) {}

IDataStream<ExternalTimestampData>& ExternalTimingProvider::streamExternalTimestampData() {
    return externalTimestampStream_;
}

void ExternalTimingProvider::startExternalTimestampDataStream() {
    const android::sp<Hidl::IExternalTimingProvider> hal = hal_.get();
    MORIAK_CONTROL_CALL(
        hal->controlStream(externalTimestampStream_.client(), Hidl::StreamCommand::START),
        "Start external timestamp data stream command failed with result: %d");
}

void ExternalTimingProvider::stopExternalTimestampDataStream() {
    const android::sp<Hidl::IExternalTimingProvider> hal = hal_.get();
    MORIAK_CONTROL_CALL(
        hal->controlStream(externalTimestampStream_.client(), Hidl::StreamCommand::STOP),
        "Stop external timestamp data stream command failed with result: %d");
}

}  // namespace Vek::Sensors::HidlWrapper
