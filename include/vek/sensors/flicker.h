// The light sensor beside the cameras: flicker of the room's lighting, and its level and colour.
#pragma once

#include <vek/sensors/stream.h>

#include <array>
#include <cstdint>
#include <string>

namespace Vek::Sensors {

/// Static description of the flicker sensor.
struct FlickerSensorProperties {
    std::string name;
    std::string vendor;
    std::string serialNumber;
};

/// Bits of the status field of FlickerData, AdcFlickerData and AmbientLightData.
enum LightSampleStatus : uint32_t {
    /// The light was beyond the sensor's range during the measurement.
    LIGHT_SAMPLE_SATURATED = 1U << 0,
    /// Records before this one were dropped because the client's queue was full.
    LIGHT_SAMPLE_DISCONTINUITY = 1U << 1,
};

/// One line in the spectrum of the light's level (8 bytes).
struct FlickerPeak {
    /// In Hz.
    float frequency;
    /// Relative to the mean level.
    float amplitude;
};

/// One analysis of the flicker of the light (88 bytes).
struct FlickerData {
    /// End of the analysed window: CLOCK_MONOTONIC, in ns.
    int64_t timestamp;
    /// When the service received the record: CLOCK_MONOTONIC, in ns.
    int64_t arrivalTimestamp;
    /// Counts the stream's records, including dropped ones; wraps.
    uint32_t sequence;
    /// LightSampleStatus bits.
    uint32_t status;
    /// Frequency of the strongest flicker, in Hz; 0 if the light is steady.
    float frequency;
    /// Confidence in the frequency, from 0 to 1.
    float confidence;
    /// (maximum - minimum) / (maximum + minimum) of the level, from 0 to 1.
    float modulationDepth;
    /// Fraction of a period's light above the mean level, from 0 to 1.
    float flickerIndex;
    /// Mean level, in counts of the converter.
    float meanLevel;
    /// Gain of the amplifier before the converter, as a factor; 1 is no amplification.
    float gain;
    /// Rate of the analysed samples, in Hz.
    float sampleRate;
    /// Number of peaks in use, as the service sent it: check it against the array.
    uint32_t peakCount;
    /// In order of falling amplitude.
    std::array<FlickerPeak, 4> peaks;
};

/// A block of the samples that the flicker is computed from (8224 bytes).
struct AdcFlickerData {
    /// When the first sample was taken: CLOCK_MONOTONIC, in ns.
    int64_t timestamp;
    /// When the service received the block: CLOCK_MONOTONIC, in ns.
    int64_t arrivalTimestamp;
    /// Counts the stream's blocks, including dropped ones; wraps.
    uint32_t sequence;
    /// LightSampleStatus bits.
    uint32_t status;
    /// In Hz.
    float sampleRate;
    /// Number of samples in use, as the service sent it: check it against the array.
    uint32_t sampleCount;
    /// The light's level, in counts of the converter.
    std::array<uint16_t, 4096> samples;
};

/// One measurement of the light's level and colour (104 bytes).
struct AmbientLightData {
    /// Middle of the exposure: CLOCK_MONOTONIC, in ns.
    int64_t timestamp;
    /// When the service received the record: CLOCK_MONOTONIC, in ns.
    int64_t arrivalTimestamp;
    /// Counts the stream's records, including dropped ones; wraps.
    uint32_t sequence;
    /// LightSampleStatus bits.
    uint32_t status;
    /// In lx.
    float illuminance;
    /// Correlated colour temperature, in K; 0 if the light is too dark to tell.
    float colorTemperature;
    /// CIE 1931 chromaticity x and y.
    std::array<float, 2> chromaticity;
    /// Near-infrared irradiance, in W/m^2.
    float infrared;
    /// Length of the exposure, in s.
    float integrationTime;
    /// Gain of the amplifier before the converter, as a factor; 1 is no amplification.
    float gain;
    /// The largest illuminance that can be measured with these settings, in lx.
    float illuminanceRange;
    /// Number of channels in use, as the service sent it: check it against the array.
    uint32_t channelCount;
    /// Bit i: channel i was saturated.
    uint32_t saturatedChannels;
    /// Converter counts behind each colour filter, from short wavelengths to long ones.
    std::array<uint32_t, 10> channels;
};

/// Three independent streams of one light sensor.
///
/// A control call that the service refuses ends the process, and so does any call that cannot be
/// delivered. The library does not check whether a stream is started twice, or before it was added
/// to a composite; the service decides what happens. Destroying the object stops no stream.
///
/// Threading: no locks; each stream may be used from a thread of its own. The records arrive on
/// the thread that waits on the stream's composite.
class IFlickerSensorProvider {
  public:
    virtual ~IFlickerSensorProvider() = default;

    /// Starts the flicker records. Add the stream to a composite first.
    virtual void flickerStart() = 0;
    virtual void flickerStop() = 0;
    /// The stream of flicker records; owned by this object.
    virtual IDataStream<FlickerData>& flickerStream() = 0;

    /// Starts the blocks of samples. Add the stream to a composite first.
    virtual void adcFlickerStart() = 0;
    virtual void adcFlickerStop() = 0;
    /// The stream of blocks; owned by this object. Records of 8 KiB: the default queue takes 257
    /// KiB of shared memory.
    virtual IDataStream<AdcFlickerData>& adcFlickerStream() = 0;

    /// Starts the measurements. Add the stream to a composite first.
    virtual void ambientLightStart() = 0;
    virtual void ambientLightStop() = 0;
    /// The stream of measurements; owned by this object.
    virtual IDataStream<AmbientLightData>& ambientLightStream() = 0;

    /// Asks the service. A string that the service does not know is empty.
    virtual FlickerSensorProperties properties() = 0;
};

}  // namespace Vek::Sensors
