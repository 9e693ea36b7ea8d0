// The order of virtual functions in the client API, which programs built against it depend on.
#include <gtest/gtest.h>
#include <vek/sensors/camera.h>
#include <vek/sensors/controller.h>
#include <vek/sensors/controller_state.h>
#include <vek/sensors/factories.h>

#include <cstring>
#include <type_traits>

namespace {

using namespace Vek::Sensors;

/// Where a pointer to a virtual function says that it stands in the table, as the C++ ABI of the
/// Arm and x86 platforms has it: an offset, of which x86 sets the lowest bit.
template <typename Function>
size_t slotOf(Function function) {
    size_t words[2];
    static_assert(sizeof(words) == sizeof(function));
    std::memcpy(words, &function, sizeof(words));
    return (words[0] & ~size_t{1}) / sizeof(void*);
}

/// Takes two slots: the complete and the deleting destructor. No pointer can be had of it, so its
/// place shows in those of the others.
struct Destructor {};

template <typename Interface>
struct Longer : Interface {
    virtual void firstAfter();
};

void expectNext(size_t& next, Destructor) {
    next += 2;
}

template <typename Function>
void expectNext(size_t& next, Function function) {
    EXPECT_EQ(slotOf(function), next);
    ++next;
}

/// Expects the interface's table to hold these entries and no more.
template <typename Interface, typename... Entries>
void expectTable(const char* name, Entries... entries) {
    SCOPED_TRACE(name);
    static_assert(std::has_virtual_destructor_v<Interface>);
    size_t next = 0;
    (expectNext(next, entries), ...);
    expectNext(next, &Longer<Interface>::firstAfter);
}

#define EXPECT_TABLE(Interface, ...)             \
    do {                                         \
        using I = Interface;                     \
        expectTable<I>(#Interface, __VA_ARGS__); \
    } while (false)

TEST(VirtualOrder, IsTheOneThatProgramsAreBuiltAgainst) {
    const Destructor destructor;
    EXPECT_TABLE(IDataStream<ImuData>, destructor, &I::addTo, &I::setQueueSize, &I::getQueueSize,
                 &I::setCallbackv);
    EXPECT_TABLE(ICompositeStream, destructor, &I::wait, &I::waitFor, &I::waitUntil, &I::wake);
    EXPECT_TABLE(IStreamCompositor, destructor, &I::createCompositeStream);
    EXPECT_TABLE(IMotionSensorProvider, destructor, &I::getSensorInfo, &I::getImu, &I::getMag);
    EXPECT_TABLE(IImuSensor, destructor, &I::props, &I::stream, &I::start, &I::stop,
                 &I::configureStream);
    EXPECT_TABLE(IMagSensor, destructor, &I::props, &I::stream, &I::start, &I::stop,
                 &I::configureStream);
    EXPECT_TABLE(IIadSensor, destructor, &I::range, &I::stream, &I::start, &I::stop);
    EXPECT_TABLE(IFlickerSensorProvider, destructor, &I::flickerStart, &I::flickerStop,
                 &I::flickerStream, &I::adcFlickerStart, &I::adcFlickerStop, &I::adcFlickerStream,
                 &I::ambientLightStart, &I::ambientLightStop, &I::ambientLightStream,
                 &I::properties);
    EXPECT_TABLE(IFaceEyeTrackingLed, &I::setConfigs, &I::enable, &I::disable, &I::getNumChannels,
                 &I::startOverridingLedSettings, &I::stopOverridingLedSettings, destructor);
    EXPECT_TABLE(IExternalTimingProvider, &I::streamExternalTimestampData, destructor,
                 &I::startExternalTimestampDataStream, &I::stopExternalTimestampDataStream);
    EXPECT_TABLE(ITambStream, destructor, &I::registerKivraRpcClient, &I::unregisterKivraRpcClient,
                 &I::sendKivraRpcMsg, &I::getTimeTranslation);
    EXPECT_TABLE(ICameraProvider, destructor, &I::getProperties, &I::getStream,
                 &I::getStreamByPurpose, &I::getStreamController, &I::getUtilityFrequency,
                 &I::setUtilityFrequency, &I::getChannels, &I::setChannels, &I::applyMuxMode,
                 &I::setFrameRate, &I::getRawImageMode, &I::registerDisconnectEventHandler,
                 &I::startEvery, &I::stopEvery);
    EXPECT_TABLE(ICameraStream, destructor, &I::getMetadata, &I::stream, &I::getConfiguration,
                 &I::start, &I::stop, &I::startOverridingExposureSettings,
                 &I::stopOverridingExposureSettings,
                 &I::registerFrameSetConfigurationUpdateCallback, &I::setExposureGain,
                 &I::setPhaseOffset, &I::setCameraSyncMode, &I::writeSessionOcalData,
                 &I::setResolution, &I::streamControlTarget);
    EXPECT_TABLE(ICameraStreamController, destructor, &I::startOverridingExposureSettings,
                 &I::stopOverridingExposureSettings, &I::setExposureGain);
    EXPECT_TABLE(IControllerProvider, destructor, &I::streamStateChanges, &I::streamCurl,
                 &I::streamImu, &I::streamInput, &I::streamPrecisionPad, &I::streamMultiTouch,
                 &I::streamStylus, &I::streamWirelessDeviceStats, &I::streamPose,
                 &I::streamInputADC, &I::streamCollisionEvent, &I::getManagementClient,
                 &I::getStreamingClient, &I::getPairedControllers, &I::setWirelessFreqBlocklist,
                 &I::getWirelessFreqBlocklist, &I::clearWirelessFreqBlocklist, &I::getHostInfo,
                 &I::allowDevice);
    EXPECT_TABLE(IControllerManagementClient, destructor, &I::getAdvertisingControllers,
                 &I::enterDMM, &I::exitDMM, &I::pairController, &I::unpairController,
                 &I::updateFirmware);
    using Haptics = bool (IControllerStreamingClient::*)(ControllerAddr, uint8_t);
    using HapticsPattern =
        bool (IControllerStreamingClient::*)(ControllerAddr, std::array<SimpleHapticIntensity, 6>);
    EXPECT_TABLE(
        IControllerStreamingClient, destructor, &I::getCalibrationData, &I::enable, &I::disable,
        &I::controlInputADCStreaming, &I::setLedConfig, &I::getLedConfig, &I::setTransmitPowerBoost,
        &I::setMaxHostTransmitPower, Haptics{&I::setSimpleHaptics},
        HapticsPattern{&I::setSimpleHaptics}, &I::setBufferedHaptics, &I::appendBufferedHaptics,
        &I::appendPCMHaptics, &I::setThumbstickMaxADCRange, &I::getThumbstickMaxADCRange,
        &I::resetThumbstickMaxADCRange, &I::setThumbstickDeadzone, &I::getThumbstickDeadzone,
        &I::resetThumbstickDeadzone, &I::sleepController, &I::wakeController);
    EXPECT_TABLE(IControllerStateProvider, destructor, &I::streamHapticsState,
                 &I::streamWirelessStateTransition, &I::streamControllerInputData,
                 &I::startHapticsStateStream, &I::stopHapticsStateStream,
                 &I::startWirelessStateTransitionStream, &I::stopWirelessStateTransitionStream,
                 &I::startControllerInputDataStream, &I::stopControllerInputDataStream,
                 &I::preparePoseOutputStream, &I::startPoseOutputStream, &I::stopPoseOutputStream,
                 &I::sendPose, &I::notifyBatteryState, &I::enterPairingMode, &I::getPairingInfo,
                 &I::setPairingInfo, &I::setKivrarEnabled);
}

}  // namespace
