// Hand controllers, for the program that owns their state.
#pragma once

#include <vek/sensors/controller_records.h>
#include <vek/sensors/stream.h>

#include <cstdint>

namespace Vek::Sensors {

/// The owner's side of the controller link: takes haptics, radio state and inputs from the service
/// and gives it poses.
///
/// The streams belong to this object. Starting and stopping one ends the process if the service
/// refuses or cannot be reached; the pose stream's calls then abort even if crash dumps are
/// suppressed (see suppressTransportCrashDumps). Which streams run is the service's knowledge: a
/// second start goes out as a second command. Destruction sends nothing, so stop the streams first.
///
/// Threading: commands may come from any thread; sendPose from one thread at a time.
class IControllerStateProvider {
  public:
    virtual ~IControllerStateProvider() = default;

    virtual IDataStream<HapticsState>& streamHapticsState() = 0;
    virtual IDataStream<WirelessStateTransition>& streamWirelessStateTransition() = 0;
    virtual IDataStream<ControllerInputData>& streamControllerInputData() = 0;

    virtual void startHapticsStateStream() = 0;
    virtual void stopHapticsStateStream() = 0;
    virtual void startWirelessStateTransitionStream() = 0;
    virtual void stopWirelessStateTransitionStream() = 0;
    virtual void startControllerInputDataStream() = 0;
    virtual void stopControllerInputDataStream() = 0;

    /// Asks the service for the queue that poses go through. Once in the object's life, before
    /// startPoseOutputStream. A call out of order, of this and the next three, ends the process. So
    /// does a service that refuses, does not answer, or answers with a queue that is none.
    virtual void preparePoseOutputStream() = 0;
    virtual void startPoseOutputStream() = 0;
    virtual void stopPoseOutputStream() = 0;

    /// Neither waits nor allocates.
    /// @return false if the queue is full.
    virtual bool sendPose(const PoseOutput& pose) = 0;

    /// @param level charge of the headset's battery, in percent.
    /// @return false if the service refused or could not be reached.
    virtual bool notifyBatteryState(uint8_t level) = 0;

    /// Ends the process if it cannot be delivered.
    /// @return the address that the owner of the state now answers to.
    virtual ControllerAddr enterPairingMode() = 0;

    /// Ends the process if it cannot be delivered.
    /// @return without the key, which is always zero: it does not leave the service.
    virtual SecureDeviceInfo getPairingInfo() = 0;

    /// Completes a pairing.
    /// @param host the partner, with the partner's own key: what its getHostInfo answers.
    /// @param key 16 bytes, copied: the key of the link between the two. Not the host's key;
    /// getPairingInfo does not give it back.
    /// @return false if the service refused or could not be reached.
    virtual bool setPairingInfo(const SecureHostInfo& host, const uint8_t* key) = 0;

    /// Switches the radio's Kivrar protocol on or off, which carries ITambStream's messages. What
    /// else depends on it is the service's knowledge.
    /// @return false if the service refused or could not be reached.
    virtual bool setKivrarEnabled(bool enabled) = 0;
};

}  // namespace Vek::Sensors
