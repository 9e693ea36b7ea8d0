// Conversion of records with any content between the HAL and the API: exactly the expected fields
// arrive.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <unordered_map>
#include <vector>

#include "camera/camera_provider.h"
#include "camera/convert.h"
#include "controller/conversion_tables.h"
#include "controller/convert.h"
#include "descriptor.h"
#include "support/fake_camera_hal.h"
#include "target.h"

namespace {

using namespace TestSupport;
using namespace Vek::Sensors;

/// Reads a record from the input; missing bytes at the end are zero.
template <typename Record>
Record recordOf(FuzzedDataProvider& input) {
    Record record;
    std::memset(static_cast<void*>(&record), 0, sizeof(record));
    input.ConsumeData(&record, sizeof(record));
    return record;
}

hidl_string textOf(FuzzedDataProvider& input) {
    return input.ConsumeRandomLengthString();
}

template <typename Element>
hidl_vec<Element> listOf(FuzzedDataProvider& input, Element (*elementOf)(FuzzedDataProvider&)) {
    hidl_vec<Element> list(input.ConsumeIntegralInRange<size_t>(0, 4));
    std::generate(list.begin(), list.end(), [&] { return elementOf(input); });
    return list;
}

template <typename ApiList, typename HidlList>
bool haveSameElements(const ApiList& api, const HidlList& hidl) {
    return std::equal(api.begin(), api.end(), hidl.begin(), hidl.end(),
                      [](const auto& a, const auto& b) { return sameBytes(a, b); });
}

template <typename HidlData>
void checkTable(FuzzedDataProvider& input, const Table& table) {
    const auto record = recordOf<HidlData>(input);
    const Bytes api = bytesOf(Convert::fromHidl(record));
    VEK_ALWAYS_ASSERT(api == expected(table, bytesOf(record), api.size()));
}

void checkInput(FuzzedDataProvider& input) {
    static const struct {
        const Table& table;
        size_t apiSize;
    } kMembers[]{
        {kButtons, 72}, {kCurl, 80}, {kPrecisionPad, 56}, {kMultiTouch, 72}, {kStylus, 40}};
    constexpr size_t kMember = 8;
    // Raw memory, because the record's destructor ends the process for unknown discriminators.
    alignas(Hidl::ControllerInputData) std::array<uint8_t, sizeof(Hidl::ControllerInputData)>
        hidl{};
    input.ConsumeData(hidl.data(), hidl.size());
    const size_t kind = hidl[0];
    std::string fatal;
    try {
        const Bytes api =
            bytesOf(Convert::fromHidl(reinterpret_cast<const Hidl::ControllerInputData&>(hidl)));
        const Bytes member(&api[kMember], &api[kMember] + kMembers[kind].apiSize);
        VEK_ALWAYS_ASSERT(api[0] == kind);
        VEK_ALWAYS_ASSERT(member == expected(kMembers[kind].table,
                                             Bytes(&hidl[kMember], hidl.end()), member.size()));
    } catch (const Fuzz::FatalAssertion& assertion) {
        fatal = assertion.message;
    }
    const std::string unknown = "Unknown controller input discriminator " + std::to_string(kind);
    VEK_ALWAYS_ASSERT(fatal == (kind < std::size(kMembers) ? "" : unknown));
}

template <typename HidlData>
void checkRoundTrip(FuzzedDataProvider& input) {
    const auto record = recordOf<HidlData>(input);
    VEK_ALWAYS_ASSERT(sameBytes(Convert::intoHidl(Convert::fromHidl(record)), record));
}

void checkChannels(FuzzedDataProvider& input) {
    const Hidl::ChannelSettings settings{listOf(input, recordOf<Hidl::FrameType>)};
    const ChannelSettings api = Convert::fromHidl(settings);
    VEK_ALWAYS_ASSERT(haveSameElements(api.channels, settings.channels));
    VEK_ALWAYS_ASSERT(Convert::intoHidl(api).channels == settings.channels);
}

Hidl::MuxPurpose purposeOf(FuzzedDataProvider& input) {
    return {textOf(input), listOf(input, recordOf<uint8_t>)};
}

bool isOfPurposes(const std::unordered_map<std::string, PurposeData>& api,
                  const hidl_vec<Hidl::MuxPurpose>& hidl) {
    std::unordered_map<std::string, Bytes> last;
    for (const Hidl::MuxPurpose& purpose : hidl) {
        last[purpose.purpose] = purpose.data;
    }
    return api.size() == last.size() &&
           std::all_of(api.begin(), api.end(), [&last](const auto& purpose) {
               return last.count(purpose.first) == 1 && last[purpose.first] == purpose.second.data;
           });
}

void checkMuxState(FuzzedDataProvider& input) {
    using PerSlot = Hidl::CameraPerSlotConfiguration;
    const auto slotOf = [](FuzzedDataProvider& from) { return listOf(from, recordOf<PerSlot>); };
    const Hidl::MuxState hidl{input.ConsumeIntegral<uint32_t>(),
                              input.ConsumeIntegral<uint64_t>(),
                              {textOf(input), textOf(input), listOf(input, textOf),
                               listOf(input, purposeOf), listOf(input, purposeOf)},
                              listOf(input, recordOf<Hidl::CameraGlobalConfiguration>),
                              listOf<hidl_vec<PerSlot>>(input, slotOf)};
    const FrameSetConfigurationUpdate api = Convert::fromHidl(hidl);
    VEK_ALWAYS_ASSERT(api.header == hidl.header && api.value == hidl.value);
    VEK_ALWAYS_ASSERT(api.muxMode.name == std::string(hidl.muxMode.name));
    VEK_ALWAYS_ASSERT(api.muxMode.secondaryName == std::string(hidl.muxMode.secondaryName));
    VEK_ALWAYS_ASSERT(
        api.muxMode.purposes ==
        std::vector<std::string>(hidl.muxMode.purposes.begin(), hidl.muxMode.purposes.end()));
    VEK_ALWAYS_ASSERT(isOfPurposes(api.muxMode.purposeData, hidl.muxMode.purposeData));
    VEK_ALWAYS_ASSERT(
        isOfPurposes(api.muxMode.secondaryPurposeData, hidl.muxMode.secondaryPurposeData));
    VEK_ALWAYS_ASSERT(haveSameElements(api.globalConfigurations, hidl.globalConfigurations));
    VEK_ALWAYS_ASSERT(std::equal(api.slotConfigurations.begin(), api.slotConfigurations.end(),
                                 hidl.slotConfigurations.begin(), hidl.slotConfigurations.end(),
                                 [](const SlotConfiguration& a, const hidl_vec<PerSlot>& b) {
                                     return haveSameElements(a.cameras, b);
                                 }));
}

/// Checks a camera's texts. Those of its calibration lie in shared memory without other content.
void checkCalibration(FuzzedDataProvider& input) {
    const sp<Fake<Hidl::ICameraProvider>> service = new Fake<Hidl::ICameraProvider>;
    const std::string first = input.ConsumeRandomLengthString() + "x";
    const std::string second = input.ConsumeRandomLengthString() + "y";
    service->returns<&Hidl::ICameraProvider::getProperties>(
        hidl_vec<Hidl::CameraProperties>{{7, first, second}});
    service->on<&Hidl::ICameraProvider::getCalibrationData>([&](uint32_t, const auto& callback) {
        callback(Hidl::Result::SUCCESS, handleOf({sharedMemory(first), sharedMemory(second)}));
        return Void();
    });
    HidlWrapper::CameraProvider provider{sp<Hidl::ICameraProvider>(service)};
    const CameraProperties camera = provider.getProperties().at(0);
    VEK_ALWAYS_ASSERT(camera.propertyText1 == first && camera.propertyText2 == second);
    VEK_ALWAYS_ASSERT(camera.calibrationData1 == first.c_str());
    VEK_ALWAYS_ASSERT(camera.calibrationData2 == second.c_str());
}

/// A random handle of a service, possibly null. Its memory holds `text`, unless it is sealed
/// against writing.
hidl_handle handleOfSomeKind(FuzzedDataProvider& input, const std::string& text) {
    std::vector<int> descriptors(input.ConsumeIntegralInRange<size_t>(0, 3));
    if (descriptors.size() == 3) {
        return {};
    }
    for (int& descriptor : descriptors) {
        descriptor = Fuzz::descriptorOfSomeKind(input, 128 + text.size());
        static_cast<void>(pwrite(descriptor, text.data(), text.size(), 0));
    }
    return handleOf(descriptors);
}

bool isMemory(const hidl_handle& handle, int index) {
    return handle != nullptr && handle->numFds > index && ashmem_valid(handle->data[index]) != 0;
}

/// All bytes of the memory.
std::string contentOf(const hidl_handle& handle, int index) {
    const int descriptor = handle->data[index];
    std::string bytes(static_cast<size_t>(ashmem_get_size_region(descriptor)), '?');
    VEK_ALWAYS_ASSERT(pread(descriptor, bytes.data(), bytes.size(), 0) ==
                      static_cast<ssize_t>(bytes.size()));
    return bytes;
}

/// Up to the first zero byte, if there is one.
std::string calibrationIn(const hidl_handle& handle, int index) {
    const std::string bytes = contentOf(handle, index);
    return bytes.substr(0, bytes.find('\0'));
}

void checkUnendedCalibration(FuzzedDataProvider& input) {
    const sp<Fake<Hidl::ICameraProvider>> service = new Fake<Hidl::ICameraProvider>;
    const std::string text(input.ConsumeIntegralInRange<size_t>(0, 300), 'x');
    const hidl_handle handle = handleOfSomeKind(input, text);
    service->returns<&Hidl::ICameraProvider::getProperties>(
        hidl_vec<Hidl::CameraProperties>{{7, textOf(input), textOf(input)}});
    service->on<&Hidl::ICameraProvider::getCalibrationData>([&](uint32_t, const auto& callback) {
        callback(Hidl::Result::SUCCESS, handle);
        return Void();
    });
    HidlWrapper::CameraProvider provider{sp<Hidl::ICameraProvider>(service)};
    const CameraProperties camera = provider.getProperties().at(0);
    const bool isWhole = isMemory(handle, 0) && isMemory(handle, 1);
    VEK_ALWAYS_ASSERT(camera.calibrationData1 == (isWhole ? calibrationIn(handle, 0) : ""));
    VEK_ALWAYS_ASSERT(camera.calibrationData2 == (isWhole ? calibrationIn(handle, 1) : ""));
}

/// The bytes are those of the first descriptor's memory, all of them, and can be read.
void checkImage(gsl::span<const std::byte> bytes, const hidl_handle& handle) {
    VEK_ALWAYS_ASSERT(bytes.empty() == !isMemory(handle, 0));
    if (!bytes.empty()) {
        const std::string content = contentOf(handle, 0);
        VEK_ALWAYS_ASSERT(bytes.size() == content.size());
        VEK_ALWAYS_ASSERT(std::memcmp(bytes.data(), content.data(), content.size()) == 0);
    }
}

void checkMetadata(FuzzedDataProvider& input) {
    using Buffer = Hidl::ImageBufferDescription;
    const auto bufferOf = [](FuzzedDataProvider& from) {
        return Buffer{handleOfSomeKind(from, "pixels"), handleOfSomeKind(from, "supplement")};
    };
    Hidl::CameraStreamMetadata hidl;
    hidl.bufferGeneration = input.ConsumeIntegral<decltype(hidl.bufferGeneration)>();
    hidl.cameras.resize(input.ConsumeIntegralInRange<size_t>(0, 3));
    for (Hidl::CameraMetadata& camera : hidl.cameras) {
        camera.cameraId = input.ConsumeIntegral<uint32_t>();
        camera.buffers = listOf<Buffer>(input, bufferOf);
    }
    const CameraStreamMetadata api = Convert::fromHidl(hidl);
    VEK_ALWAYS_ASSERT(api.bufferGeneration == hidl.bufferGeneration);
    VEK_ALWAYS_ASSERT(api.cameras.size() == hidl.cameras.size());
    for (size_t i = 0; i < hidl.cameras.size(); ++i) {
        VEK_ALWAYS_ASSERT(api.cameras[i].cameraId == hidl.cameras[i].cameraId);
        VEK_ALWAYS_ASSERT(api.cameras[i].buffers.size() == hidl.cameras[i].buffers.size());
        for (size_t k = 0; k < hidl.cameras[i].buffers.size(); ++k) {
            const Buffer& buffer = hidl.cameras[i].buffers[k];
            checkImage(api.cameras[i].buffers[k]->pixels(), buffer.pixels);
            checkImage(api.cameras[i].buffers[k]->supplement(), buffer.supplement);
        }
    }
}

void checkConfiguration(FuzzedDataProvider& input) {
    Hidl::CameraStreamConfiguration hidl;
    hidl.cameras = listOf(input, recordOf<Hidl::CameraConfiguration>);
    input.ConsumeData(&hidl.frameSetRate, sizeof(hidl.frameSetRate));
    const CameraStreamConfiguration api = Convert::fromHidl(hidl);
    VEK_ALWAYS_ASSERT(haveSameElements(api.cameras, hidl.cameras));
    VEK_ALWAYS_ASSERT(sameBytes(api.frameSetRate, hidl.frameSetRate));
}

using Check = void (*)(FuzzedDataProvider&);
constexpr Check kChecks[]{
    [](auto& input) { checkTable<Hidl::ButtonData>(input, kButtons); },
    [](auto& input) { checkTable<Hidl::CurlData>(input, kCurl); },
    [](auto& input) { checkTable<Hidl::PrecisionPadData>(input, kPrecisionPad); },
    [](auto& input) { checkTable<Hidl::MultiTouchData>(input, kMultiTouch); },
    [](auto& input) { checkTable<Hidl::StylusData>(input, kStylus); },
    [](auto& input) { checkTable<Hidl::PairedControllerInfo>(input, kPaired); },
    [](auto& input) { checkTable<Hidl::AdvertisingControllerInfo>(input, kAdvertising); },
    checkInput,
    checkRoundTrip<Hidl::ControllerLedConfig>,
    checkRoundTrip<Hidl::ThumbstickADCRange>,
    checkRoundTrip<Hidl::SecureHostInfo>,
    checkChannels,
    checkMuxState,
    checkCalibration,
    checkUnendedCalibration,
    checkMetadata,
    checkConfiguration,
};

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const Fuzz::LeakCheck leaks;
    FuzzedDataProvider input{data, size};
    input.PickValueInArray(kChecks)(input);
    return 0;
}
