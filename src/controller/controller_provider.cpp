// The provider's streams, clients and settings.
//
// A failed transport ends the process for queries (`checkTransport`), but counts as a refusal for
// settings (`withDefault(false)`). The difference is intended.
#include <vek/gsl.h>
#include <vek/sensors/controller_provider.h>
#include <vendor/zelvan/hardware/sensors/1.0/IControllerProvider.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "controller/controller_management_client.h"
#include "controller/controller_streaming_client.h"
#include "controller/convert.h"
#include "foundation/hal_call.h"
#include "foundation/hal_death_recipient.h"
#include "os/bind_receiver.h"
#include "stream/stream_handle.h"

namespace Vek::Sensors::HidlWrapper {
namespace {

/// The HAL's record type is deduced from the method that takes its queue.
template <typename Data, typename HidlData>
std::unique_ptr<IDataStream<Data>> openStream(
    const android::sp<Hidl::IControllerProvider>& hal,
    android::hardware::Return<Hidl::Result> (Hidl::IControllerProvider::*prepare)(
        const android::hardware::MQDescriptorSync<HidlData>&,
        const android::sp<Hidl::ISensorClient>&, const Hidl::FmqConfig&)) {
    return std::make_unique<StreamHandle<Data, HidlData>>(OS::BindReceiver(hal, prepare));
}

}  // namespace

/// The provider's members, kept out of the public header.
struct ControllerService {
    explicit ControllerService(gsl::not_null<android::sp<Hidl::IControllerProvider>> provider)
        : hal(std::move(provider)),
          deathRecipient(std::make_unique<HalDeathRecipient>(hal.get())) {}

    gsl::not_null<android::sp<Hidl::IControllerProvider>> hal;
    std::unique_ptr<HalDeathRecipient> deathRecipient;
};

ControllerProvider::ControllerProvider()
    : service_(std::make_unique<ControllerService>(
          Hidl::IControllerProvider::getService(std::string{"default"}, false))) {}

ControllerProvider::~ControllerProvider() = default;

std::unique_ptr<IDataStream<PairedControllerInfo>> ControllerProvider::streamStateChanges() {
    return openStream<PairedControllerInfo>(service_->hal.get(),
                                            &Hidl::IControllerProvider::prepareStateChangeStream);
}

std::unique_ptr<IDataStream<CurlData>> ControllerProvider::streamCurl() {
    return openStream<CurlData>(service_->hal.get(), &Hidl::IControllerProvider::prepareCurlStream);
}

std::unique_ptr<IDataStream<ControllerImuData>> ControllerProvider::streamImu() {
    return openStream<ControllerImuData>(service_->hal.get(),
                                         &Hidl::IControllerProvider::prepareImuStream);
}

std::unique_ptr<IDataStream<ButtonData>> ControllerProvider::streamInput() {
    return openStream<ButtonData>(service_->hal.get(),
                                  &Hidl::IControllerProvider::prepareButtonStream);
}

std::unique_ptr<IDataStream<PrecisionPadData>> ControllerProvider::streamPrecisionPad() {
    return openStream<PrecisionPadData>(service_->hal.get(),
                                        &Hidl::IControllerProvider::preparePrecisionPadStream);
}

std::unique_ptr<IDataStream<MultiTouchData>> ControllerProvider::streamMultiTouch() {
    return openStream<MultiTouchData>(service_->hal.get(),
                                      &Hidl::IControllerProvider::prepareMultiTouchStream);
}

std::unique_ptr<IDataStream<StylusData>> ControllerProvider::streamStylus() {
    return openStream<StylusData>(service_->hal.get(),
                                  &Hidl::IControllerProvider::prepareStylusStream);
}

std::unique_ptr<IDataStream<WirelessDeviceStats>> ControllerProvider::streamWirelessDeviceStats() {
    return openStream<WirelessDeviceStats>(
        service_->hal.get(), &Hidl::IControllerProvider::prepareWirelessDeviceStatsStream);
}

std::unique_ptr<IDataStream<PoseInput>> ControllerProvider::streamPose() {
    return openStream<PoseInput>(service_->hal.get(),
                                 &Hidl::IControllerProvider::preparePoseInputStream);
}

std::unique_ptr<IDataStream<ControllerInputADCData>> ControllerProvider::streamInputADC() {
    return openStream<ControllerInputADCData>(service_->hal.get(),
                                              &Hidl::IControllerProvider::prepareInputADCStream);
}

std::unique_ptr<IDataStream<ControllerCollisionEvent>> ControllerProvider::streamCollisionEvent() {
    return openStream<ControllerCollisionEvent>(
        service_->hal.get(), &Hidl::IControllerProvider::prepareCollisionEventStream);
}

std::unique_ptr<IControllerManagementClient> ControllerProvider::getManagementClient() {
    const android::sp<Hidl::IControllerProvider> hal = service_->hal.get();
    const android::hardware::Return<android::sp<Hidl::IControllerManagementClient>> hidlReturn =
        hal->getManagementClient();
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    const android::sp<Hidl::IControllerManagementClient> client = unwrap(hidlReturn);
    if (client == nullptr) {
        return nullptr;
    }
    return std::make_unique<ControllerManagementClient>(client);
}

std::unique_ptr<IControllerStreamingClient> ControllerProvider::getStreamingClient() {
    const android::sp<Hidl::IControllerProvider> hal = service_->hal.get();
    const android::hardware::Return<android::sp<Hidl::IControllerStreamingClient>> hidlReturn =
        hal->getStreamingClient();
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    // A missing streaming client ends the process, unlike a missing management client: callers rely
    // on getting one.
    return std::make_unique<ControllerStreamingClient>(unwrap(hidlReturn));
}

std::vector<PairedControllerInfo> ControllerProvider::getPairedControllers() {
    std::vector<PairedControllerInfo> controllers;
    const android::sp<Hidl::IControllerProvider> hal = service_->hal.get();
    const android::hardware::Return<void> hidlReturn = hal->getPairedControllers(
        [&controllers](const android::hardware::hidl_vec<Hidl::PairedControllerInfo>& answer) {
            controllers.reserve(answer.size());
            for (const Hidl::PairedControllerInfo& info : answer) {
                controllers.push_back(Convert::fromHidl(info));
            }
        });
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    return controllers;
}

bool ControllerProvider::setWirelessFreqBlocklist(
    const ControllerWirelessFreqBlocklist& blocklist) {
    const android::sp<Hidl::IControllerProvider> hal = service_->hal.get();
    return hal->setWirelessFreqBlocklist({blocklist.channels}).withDefault(false);
}

bool ControllerProvider::getWirelessFreqBlocklist(ControllerWirelessFreqBlocklist& blocklist) {
    bool answer = false;
    const android::sp<Hidl::IControllerProvider> hal = service_->hal.get();
    const android::hardware::Return<void> hidlReturn = hal->getWirelessFreqBlocklist(
        [&answer, &blocklist](const Hidl::ControllerWirelessFreqBlocklist& list, bool success) {
            blocklist.channels = list.channels;
            answer = success;
        });
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    return answer;
}

bool ControllerProvider::clearWirelessFreqBlocklist() {
    const android::sp<Hidl::IControllerProvider> hal = service_->hal.get();
    return hal->clearWirelessFreqBlocklist().withDefault(false);
}

SecureHostInfo ControllerProvider::getHostInfo() {
    SecureHostInfo info{};
    const android::sp<Hidl::IControllerProvider> hal = service_->hal.get();
    const android::hardware::Return<void> hidlReturn = hal->getHostInfo(
        [&info](const Hidl::SecureHostInfo& answer) { info = Convert::fromHidl(answer); });
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    return info;
}

bool ControllerProvider::allowDevice(SecureDeviceInfo device) {
    const android::sp<Hidl::IControllerProvider> hal = service_->hal.get();
    return hal->allowDevice(Convert::intoHidl(device)).withDefault(false);
}

}  // namespace Vek::Sensors::HidlWrapper
