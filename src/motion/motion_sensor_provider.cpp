// The provider's calls, before and after its service's death.
#include "motion/motion_sensor_provider.h"

#include <cstdint>
#include <utility>

#include "foundation/hal_call.h"
#include "motion/convert.h"
#include "motion/motion_sensors.h"

namespace Vek::Sensors::HidlWrapper {
namespace {

void onServiceDeath(const void* context) {
    MORIAK_LOG_ERROR("MotionSensorProvider death callback");
    // The handler type takes a const context; the object registered itself and is not const.
    static_cast<MotionSensorProvider*>(const_cast<void*>(context))->onDisconnect();
}

void logDeadCall(const char* function) {
    MORIAK_LOG_ERROR("%s called on dead MotionSensorProvider object", function);
}

}  // namespace

MotionSensorProvider::MotionSensorProvider(
    gsl::not_null<android::sp<Hidl::IMotionSensorProvider>> hal)
    : hal_(hal.get()), deathRecipient_(std::make_unique<HalDeathRecipient>(hal_)) {
    deathRecipient_->registerDisconnectHandler({onServiceDeath, this});
}

MotionSensorProvider::~MotionSensorProvider() {
    std::unique_ptr<HalDeathRecipient> deathRecipient;
    {
        const OS::LockGuard lock{mutex_};
        deathRecipient = std::move(deathRecipient_);
    }
    // Destroyed without the lock: its destructor waits for the handler, which takes the lock.
}

void MotionSensorProvider::onDisconnect() {
    const OS::LockGuard lock{mutex_};
    hal_ = nullptr;
    deathRecipient_.reset();
}

MotionSensorMetadata MotionSensorProvider::getSensorInfo() {
    const OS::LockGuard lock{mutex_};
    if (hal_ == nullptr) {
        logDeadCall(__PRETTY_FUNCTION__);
        return {};
    }
    MotionSensorMetadata metadata;
    const android::hardware::Return<void> hidlReturn = hal_->getSensorInfo(
        [&metadata](Hidl::Result result, const Hidl::MotionSensorMetadata& answer) {
            if (result != Hidl::Result::SUCCESS) {
                MORIAK_LOG_ERROR("Error fetching sensor info: %d", static_cast<int>(result));
            }
            metadata = Convert::fromHidl(answer);
        });
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    return metadata;
}

std::unique_ptr<IImuSensor> MotionSensorProvider::getImu(uint32_t sensor) {
    const OS::LockGuard lock{mutex_};
    if (hal_ == nullptr) {
        logDeadCall(__PRETTY_FUNCTION__);
        return nullptr;
    }
    const android::hardware::Return<android::sp<Hidl::IImu>> hidlReturn = hal_->getImu(sensor);
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    const android::sp<Hidl::IImu> imu = unwrap(hidlReturn);
    if (imu == nullptr) {
        return nullptr;
    }
    return std::make_unique<ImuSensor>(imu);
}

std::unique_ptr<IMagSensor> MotionSensorProvider::getMag(uint32_t sensor) {
    const OS::LockGuard lock{mutex_};
    if (hal_ == nullptr) {
        logDeadCall(__PRETTY_FUNCTION__);
        return nullptr;
    }
    const android::hardware::Return<android::sp<Hidl::IMag>> hidlReturn = hal_->getMag(sensor);
    checkTransport(hidlReturn, __PRETTY_FUNCTION__);
    const android::sp<Hidl::IMag> mag = unwrap(hidlReturn);
    if (mag == nullptr) {
        return nullptr;
    }
    return std::make_unique<MagSensor>(mag);
}

}  // namespace Vek::Sensors::HidlWrapper
