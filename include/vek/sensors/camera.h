// Cameras: their provider, their streams of frame sets and their exposure control.
//
// Any call that the service refuses ends the process, except where a method says otherwise; one
// that cannot be delivered always does.
#pragma once

#include <vek/gsl.h>
#include <vek/sensors/camera_configuration.h>
#include <vek/sensors/frame_set.h>
#include <vek/sensors/service.h>
#include <vek/sensors/stream.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace android {
template <typename T>
class sp;
}  // namespace android

namespace Vek::Sensors {

namespace HidlWrapper {
class CameraStreamControlTarget;
}  // namespace HidlWrapper

/// On which thread frame sets reach the client.
enum class DispatchPolicy : uint32_t {
    /// On the thread that waits on the stream's composite.
    COMPOSITE_WAIT = 0,
};

/// A stream of frame sets of one type.
///
/// Use: set the callback of stream(), add it to a composite, start(), wait on the composite. The
/// images are in the buffers of getMetadata(), which a client asks for once, before the start. A
/// client may read an image only inside the callback: when the callback returns, the library hands
/// the frame set back to the service. A frame set is as the service wrote it: check `bufferIndex`
/// against the number of buffers before use.
///
/// Destroying the object does not stop the stream at the service. Stop it first: a stream that was
/// left running occupies one of the service's few places for clients until this process ends. The
/// object must outlive the last wait on the composite.
///
/// Threading: stream() as IDataStream says; the other methods from any thread.
template <DispatchPolicy policy>
class ICameraStreamBase {
  public:
    virtual ~ICameraStreamBase() = default;

    /// Asks the service for the stream's cameras and maps their buffers.
    virtual CameraStreamMetadata getMetadata() = 0;

    /// The frame sets; owned by this object. Its queue holds one, and each call of the callback
    /// gets one span with one frame set. setQueueSize ends the process. The callback must not
    /// throw: the frame set would never be handed back (see IDataStream::setCallbackv).
    virtual IDataStream<FrameSet>& stream() = 0;

    /// Asks the service for the current settings of the stream's cameras and their ranges.
    virtual CameraStreamConfiguration getConfiguration() = 0;

    /// Starts the frame sets. Add the stream to a composite first. Has no effect on a stream that
    /// is running.
    virtual void start() = 0;

    /// Has no effect on a stream that is not running.
    virtual void stop() = 0;

    /// Disables automatic exposure and gain. Add the stream to a composite first: before that, the
    /// service refuses. If several clients override, the settings of the one that began last count,
    /// of those that have set any.
    virtual void startOverridingExposureSettings() = 0;

    /// Re-enables automatic exposure and gain. The service refuses if this stream does not
    /// override.
    virtual void stopOverridingExposureSettings() = 0;

    /// Registers a function for changes of the mux state that applies to the frame sets. The stream
    /// must have been added to a composite and must not be running; otherwise the service refuses,
    /// which ends the process.
    /// @param callback called on a HIDL thread of the process, concurrently with the client's own
    /// threads. There is no way to unregister: what it captures must live until the process ends,
    /// even after this object is destroyed. May be empty.
    /// @return the state in force.
    virtual FrameSetConfigurationUpdate registerFrameSetConfigurationUpdateCallback(
        std::function<void(const FrameSetConfigurationUpdate&)> callback) = 0;

    /// Sets exposure and gain. Takes effect only while this stream overrides them; otherwise the
    /// service ignores the call, and the client is not told. Values outside of the cameras' ranges
    /// (getConfiguration) are limited to them. More than kMaxFrameSetSize cameras end the process.
    virtual void setExposureGain(ExposureGainSettings settings) = 0;

    /// @param offset time from the synchronisation signal to the exposures, in ns.
    virtual void setPhaseOffset(uint64_t offset) = 0;

    virtual void setCameraSyncMode(CameraSyncMode mode) = 0;

    /// Stores at the service what the client has learned about the cameras in this session. The
    /// limits below are those of the simulated service; one that refuses ends the process.
    /// @param name replaces earlier data of that name. 1 to 64 letters, digits and "-_."; 16 names
    /// at most.
    /// @param data in a form that the service knows, 64 KiB at most; copied.
    virtual void writeSessionOcalData(const std::string& name, gsl::span<const uint8_t> data) = 0;

    /// Scales the images. The buffers stay as they are, and CameraStreamMetadata::bufferGeneration
    /// with them: width, height and stride of each frame tell how much of its buffer is in use.
    /// @param resolutions one for each camera, in the order of the metadata.
    /// @return true; a refusal ends the process.
    virtual bool setResolution(std::vector<Resolution> resolutions) = 0;

    /// Identifies this stream to ICameraProvider::startEvery and stopEvery; clients have no other
    /// use for it.
    virtual const android::sp<HidlWrapper::CameraStreamControlTarget>& streamControlTarget() = 0;
};

using ICameraStream = ICameraStreamBase<DispatchPolicy::COMPOSITE_WAIT>;

/// Exposure control of cameras whose frame sets the client does not read. If several controllers
/// and streams override, the settings of the one that began last count, of those that have set any.
///
/// The result FAILURE of the service ends the process; any other refusal returns false. Threading:
/// any thread.
class ICameraStreamController {
  public:
    virtual ~ICameraStreamController() = default;

    /// Disables automatic exposure and gain.
    virtual bool startOverridingExposureSettings() = 0;

    /// Re-enables automatic exposure and gain.
    /// @return false if this object does not override.
    virtual bool stopOverridingExposureSettings() = 0;

    /// @param slot number of the slot in the mux mode, from 0.
    /// @param frameSets number of frame sets that the settings apply to; 0: until they are set
    /// again.
    /// @param settings more than kMaxFrameSetSize cameras end the process.
    virtual bool setExposureGain(uint8_t slot, uint32_t frameSets,
                                 ExposureGainSettings settings) = 0;
};

/// Describes the cameras, creates their streams and holds the settings that all cameras share.
///
/// Threading: any thread. The objects that it creates may outlive it.
class ICameraProvider {
  public:
    virtual ~ICameraProvider() = default;

    /// Asks the service, also for the calibration of each camera. An error result is logged, and
    /// the values that came with it are returned; unavailable calibration is left empty.
    virtual std::vector<CameraProperties> getProperties() = 0;

    /// @param clientName tells the service who reads the stream.
    /// @return empty if no camera delivers frames of this type.
    virtual std::unique_ptr<ICameraStream> getStream(FrameType frameType,
                                                     const std::string& clientName) = 0;

    /// @param purpose as in MuxMode::purposes.
    /// @param variant chooses among the streams of one purpose; empty for the first.
    /// @return empty if there is none.
    virtual std::unique_ptr<ICameraStream> getStreamByPurpose(const std::string& purpose,
                                                              const std::string& variant,
                                                              const std::string& clientName) = 0;

    /// The arguments are those of getStreamByPurpose.
    /// @return empty if there is none.
    virtual std::unique_ptr<ICameraStreamController> getStreamController(
        const std::string& purpose, const std::string& variant) = 0;

    virtual UtilityFrequency getUtilityFrequency() = 0;
    virtual void setUtilityFrequency(UtilityFrequency frequency) = 0;

    /// The frame types that are captured, in the service's order.
    virtual ChannelSettings getChannels() = 0;
    /// From now on, only these frame types are captured.
    virtual void setChannels(ChannelSettings settings) = 0;

    /// @param muxModeName as in MuxMode::name.
    /// @param transition 0 switches at the end of the current cycle of slots, 1 immediately.
    /// @return false if the service refuses.
    virtual bool applyMuxMode(const std::string& muxModeName, uint8_t transition) = 0;

    virtual void setFrameRate(FrameRateSettings settings) = 0;

    /// Whether images are delivered as they leave the sensors, without corrections.
    virtual bool getRawImageMode() = 0;

    /// Adds a handler that is called when the service dies, as ServiceDisconnectHandler says.
    /// Register right after the provider was made: a handler that comes after the death is not
    /// called. A handler is removed only with the provider, whose destruction waits for handlers
    /// that are running unless one of them is the caller.
    virtual void registerDisconnectEventHandler(ServiceDisconnectHandler&& handler) = 0;

    /// Starts several streams with one call, so that they start together. Null pointers are
    /// skipped; running streams are not affected.
    virtual void startEvery(
        const std::vector<std::shared_ptr<ICameraStreamBase<DispatchPolicy::COMPOSITE_WAIT>>>&
            streams) = 0;

    /// As startEvery, to stop them.
    virtual void stopEvery(
        const std::vector<std::shared_ptr<ICameraStreamBase<DispatchPolicy::COMPOSITE_WAIT>>>&
            streams) = 0;
};

}  // namespace Vek::Sensors
