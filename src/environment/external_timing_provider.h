// The stream of external time stamps over its HAL interface.
#pragma once

#include <vek/gsl.h>
#include <vek/sensors/external_timing.h>
#include <vendor/zelvan/hardware/sensors/1.0/IExternalTimingProvider.h>

#include <memory>

#include "foundation/hal_death_recipient.h"
#include "stream/stream_handle.h"

namespace Vek::Sensors::HidlWrapper {

class ExternalTimingProvider : public IExternalTimingProvider {
  public:
    explicit ExternalTimingProvider(gsl::not_null<android::sp<Hidl::IExternalTimingProvider>> hal);

    IDataStream<ExternalTimestampData>& streamExternalTimestampData() override;
    void startExternalTimestampDataStream() override;
    void stopExternalTimestampDataStream() override;

  private:
    gsl::not_null<android::sp<Hidl::IExternalTimingProvider>> hal_;
    std::unique_ptr<HalDeathRecipient> deathRecipient_;
    StreamHandle<ExternalTimestampData, Hidl::ExternalTimestampData> externalTimestampStream_;
};

}  // namespace Vek::Sensors::HidlWrapper
