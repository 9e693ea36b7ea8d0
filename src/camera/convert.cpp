// Copies camera records: texts and lists field by field, plain records bit for bit. Enumerations
// keep values that have no name here.
#include "camera/convert.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <utility>

#include "foundation/log.h"
#include "foundation/same_layout.h"

namespace Vek::Sensors::Convert {
namespace {

using android::hardware::hidl_string;
using android::hardware::hidl_vec;

/// Copies lists of plain records or of enumerations.
template <typename To, typename From>
std::vector<To> copyList(const From& from) {
    std::vector<To> to;
    to.reserve(from.size());
    std::transform(from.begin(), from.end(), std::back_inserter(to),
                   copyBits<To, std::decay_t<decltype(*from.begin())>>);
    return to;
}

CameraMetadata fromHidl(const Hidl::CameraMetadata& metadata) {
    CameraMetadata result;
    result.cameraId = metadata.cameraId;
    result.buffers.reserve(metadata.buffers.size());
    for (const Hidl::ImageBufferDescription& buffer : metadata.buffers) {
        result.buffers.push_back(std::make_shared<OS::ImageBuffer>(
            buffer.pixels.getNativeHandle(), buffer.supplement.getNativeHandle()));
    }
    return result;
}

std::unordered_map<std::string, PurposeData> purposeDataOf(
    const hidl_vec<Hidl::MuxPurpose>& purposes) {
    std::unordered_map<std::string, PurposeData> result;
    for (const Hidl::MuxPurpose& purpose : purposes) {
        PurposeData data;
        data.data = purpose.data;
        result.insert_or_assign(purpose.purpose, std::move(data));
    }
    return result;
}

}  // namespace

CameraProperties fromHidl(const Hidl::CameraProperties& properties) {
    return {properties.cameraId, properties.name, properties.sensorModel, {}, {}};
}

ChannelSettings fromHidl(const Hidl::ChannelSettings& settings) {
    return {copyList<FrameType>(settings.channels)};
}

Hidl::ChannelSettings intoHidl(const ChannelSettings& settings) {
    return {copyList<Hidl::FrameType>(settings.channels)};
}

Hidl::FrameRateSettings intoHidl(const FrameRateSettings& settings) {
    return {copyList<Hidl::FrameRate>(settings.frameRates),
            copyList<Hidl::FrameType>(settings.frameTypes)};
}

Hidl::ExposureGainSettings intoHidl(const ExposureGainSettings& input) {
    MORIAK_FATAL_IF(input.numCameras > kMaxFrameSetSize, nullptr);
    Hidl::ExposureGainSettings settings;
    // Zeroes the padding too: the other process sees all bytes.
    std::memset(&settings, 0, sizeof(settings));
    settings.numCameras = input.numCameras;
    for (uint32_t i = 0; i < input.numCameras; ++i) {
        settings.cameras[i] = copyBits<Hidl::ExposureGain>(input.cameras[i]);
    }
    return settings;
}

hidl_vec<Hidl::Resolution> intoHidl(const std::vector<Resolution>& resolutions) {
    return copyList<Hidl::Resolution>(resolutions);
}

CameraStreamMetadata fromHidl(const Hidl::CameraStreamMetadata& metadata) {
    CameraStreamMetadata result;
    result.cameras.reserve(metadata.cameras.size());
    for (const Hidl::CameraMetadata& camera : metadata.cameras) {
        result.cameras.push_back(fromHidl(camera));
    }
    result.bufferGeneration = metadata.bufferGeneration;
    return result;
}

CameraStreamConfiguration fromHidl(const Hidl::CameraStreamConfiguration& configuration) {
    return {copyList<CameraConfiguration>(configuration.cameras), configuration.frameSetRate};
}

MuxMode fromHidl(const Hidl::MuxMode& muxMode) {
    MuxMode result;
    result.name = muxMode.name;
    result.secondaryName = muxMode.secondaryName;
    result.purposes.reserve(muxMode.purposes.size());
    for (const hidl_string& purpose : muxMode.purposes) {
        result.purposes.push_back(purpose);
    }
    result.purposeData = purposeDataOf(muxMode.purposeData);
    result.secondaryPurposeData = purposeDataOf(muxMode.secondaryPurposeData);
    return result;
}

FrameSetConfigurationUpdate fromHidl(const Hidl::MuxState& state) {
    FrameSetConfigurationUpdate result;
    result.header = state.header;
    result.value = state.value;
    result.muxMode = fromHidl(state.muxMode);
    result.globalConfigurations = copyList<CameraGlobalConfiguration>(state.globalConfigurations);
    result.slotConfigurations.reserve(state.slotConfigurations.size());
    for (const hidl_vec<Hidl::CameraPerSlotConfiguration>& slot : state.slotConfigurations) {
        result.slotConfigurations.push_back({copyList<CameraPerSlotConfiguration>(slot)});
    }
    return result;
}

}  // namespace Vek::Sensors::Convert
