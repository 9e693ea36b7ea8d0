// The camera provider: descriptions, calibration, streams and shared settings.
#include "camera/camera_provider.h"

#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <hwbinder/IPCThreadState.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "camera/camera_stream_control_target.h"
#include "support/captured_log.h"
#include "support/fake_camera_hal.h"
#include "support/fatal_calls.h"

namespace {
size_t flushes = 0;
}  // namespace

/// Overrides the runtime's own function, which is in a shared library.
void android::hardware::IPCThreadState::flushCommands() {
    ++flushes;
}

namespace {

using namespace ::testing;
using namespace TestSupport;
using namespace Vek::Sensors;
using HidlWrapper::CameraProvider;

class CameraProviderTest : public Test {
  protected:
    using I = Hidl::ICameraProvider;

    void listCameras(const hidl_vec<Hidl::CameraProperties>& cameras,
                     Hidl::Result result = Hidl::Result::SUCCESS) {
        service->on<&I::getProperties>([=](const auto& callback) {
            callback(result, cameras);
            return Void();
        });
    }

    sp<Fake<I>> service = new Fake<I>;
    sp<Hidl::ICameraStream> hidlStream = new FakeCameraStream;
    CameraProvider provider{sp<Hidl::ICameraProvider>(service)};
};
using CameraProviderDeathTest = CameraProviderTest;

TEST_F(CameraProviderTest, CamerasAreListedEvenWithErrorsThatAreLogged) {
    listCameras({{1, "left", "sensor A"}, {0, "right", "sensor B"}}, Hidl::Result::FAILURE);
    service->on<&I::getCalibrationData>([](auto camera, const auto& callback) {
        callback(Hidl::Result::BAD_STATE,
                 handleOf({sharedMemory(std::to_string(camera)), sharedMemory("2")}));
        return Void();
    });
    CapturedLog log;
    const auto cameras = provider.getProperties();
    const std::string invalid = ", some properties may be invalid: 1";
    const auto calibration =
        errorLine("Error fetching camera calibration data, some data may be invalid: 2");
    EXPECT_THAT(log.take(), ElementsAre(errorLine("Error fetching camera properties" + invalid),
                                        calibration, calibration));
    EXPECT_THAT(cameras, ElementsAre(FieldsAre(1, "left", "sensor A", _, _),
                                     FieldsAre(0, "right", "sensor B", _, _)));
    EXPECT_EQ(cameras[0].calibrationData1, "");
}

TEST_F(CameraProviderTest, CalibrationMemoryIsCheckedBeforeItIsRead) {
    const std::string page(static_cast<size_t>(sysconf(_SC_PAGESIZE)), 'x');
    const std::string zero(1, '\0');
    const auto good = [&] { return sharedMemory("good" + zero + "more"); };
    const auto shrinkable = [] { return memfd_create("shrinkable", 0); };
    const auto empty = [] {
        const int fd = memfd_create("empty", MFD_ALLOW_SEALING);
        EXPECT_EQ(fcntl(fd, F_ADD_SEALS, F_SEAL_SHRINK), 0);
        return fd;
    };
    const auto writeOnly = [] {
        const android::base::unique_fd fd{sharedMemory("secret")};
        return open(("/proc/self/fd/" + std::to_string(fd.get())).c_str(), O_WRONLY);
    };
    const int number = good();
    // New mappings will lie directly before these bytes; a text that is read too far would run into
    // them.
    std::vector<void*> others(256);
    std::generate(others.begin(), others.end(), [&] {
        return std::memset(
            mmap(nullptr, page.size(), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0),
            'y', page.size());
    });
    struct Case {
        hidl_handle handle;
        std::string text1;
        std::string text2;
        size_t errors;
    };
    const std::vector<Case> cases{
        {handleOf({good(), sharedMemory(zero)}), "good", "", 0},
        {{}, "", "", 1},
        {handleOf({sharedMemory("no end"), sharedMemory(page)}), "no end", page, 0},
        {handleOf({good()}, {number}), "", "", 1},
        {handleOf({shrinkable(), good()}), "", "", 1},
        {handleOf({good(), shrinkable()}), "", "", 1},
        {handleOf({empty(), good()}), "", "good", 1},
        {handleOf({good(), writeOnly()}), "good", "", 1},
        {handleOf({good(), good(), shrinkable()}), "good", "good", 0},
    };
    service->on<&I::getCalibrationData>([&](uint32_t camera, const auto& callback) {
        callback(Hidl::Result::SUCCESS, cases.at(camera).handle);
        return Void();
    });
    const auto error = errorLine("Invalid handle or file descriptors for calibration data");
    for (uint32_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(i);
        // The first camera is without fault.
        listCameras({{0, "", ""}, {i, "", ""}});
        CapturedLog log;
        EXPECT_THAT(provider.getProperties().at(1),
                    FieldsAre(i, "", "", cases[i].text1, cases[i].text2));
        EXPECT_EQ(log.take(), std::vector(cases[i].errors, error));
    }
    for (void* const other : others) {
        munmap(other, page.size());
    }
    close(number);
}

TEST_F(CameraProviderTest, ReturnsStreamsAndControllersOrEmptyPointersWithoutLogging) {
    service->on<&I::getStreamByPurpose>([&](const auto& purpose, const auto& variant) {
        return purpose == "head" && variant == "wide" ? hidlStream : nullptr;
    });
    const auto stream = provider.getStreamByPurpose("head", "wide", "tracker");
    ASSERT_NE(stream, nullptr);
    const sp<Hidl::ISensorClient> client = stream->streamControlTarget()->getClient();
    client->getSensorClientInfo([](auto result, auto& info) {
        EXPECT_EQ(result, Hidl::Result::SUCCESS);
        EXPECT_EQ(info.name, "tracker");
    });
    const sp<Hidl::ICameraStream> named = stream->streamControlTarget()->getStream();
    EXPECT_EQ(named, hidlStream);

    service->on<&I::getStream>(
        [&](auto type) { return type == Hidl::FrameType::DEPTH ? nullptr : hidlStream; });
    service->on<&I::getStreamController>([&](const auto& purpose, const auto& variant) {
        EXPECT_TRUE(purpose == "eyes" && variant == "left");
        return nullptr;
    });
    CapturedLog log;
    flushes = 0;
    EXPECT_EQ(provider.getStream(FrameType::DEPTH, "any"), nullptr);
    EXPECT_EQ(provider.getStreamByPurpose("", "", ""), nullptr);
    EXPECT_EQ(provider.getStreamController("eyes", "left"), nullptr);
    EXPECT_EQ(flushes, 3U) << "the service is to know at once that nobody holds its object";
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(CameraProviderTest, SettingsAreSentAndReturnedUnchanged) {
    constexpr auto kFrequency = static_cast<Hidl::UtilityFrequency>(77);
    service->returns<&I::getUtilityFrequency>(kFrequency);
    provider.setUtilityFrequency(provider.getUtilityFrequency());
    EXPECT_TRUE(provider.getRawImageMode());
    provider.setFrameRate({{FrameRate::FPS_90, FrameRate::FPS_30}, {FrameType::EYE}});

    const auto unknown = static_cast<Hidl::FrameType>(25);
    service->returns<&I::getChannels>(Hidl::ChannelSettings{{Hidl::FrameType::COLOR, unknown}});
    provider.setChannels(provider.getChannels());

    CapturedLog log;
    EXPECT_TRUE(provider.applyMuxMode("tracking", 255));
    service->result = Hidl::Result::IGNORED;
    EXPECT_FALSE(provider.applyMuxMode("tracking", 255));
    EXPECT_THAT(service->calls,
                ElementsAre("setUtilityFrequency 0x4d",
                            "setFrameRate {.frameRates = [FPS_90, FPS_30], .frameTypes = [EYE]}",
                            "setChannels {.channels = [COLOR, 0x19]}",
                            "applyMuxMode \"tracking\" 255", "applyMuxMode \"tracking\" 255"));
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(CameraProviderTest, SeveralStreamsTakeOneCommandAndNullPointersAreSkipped) {
    service->returns<&I::getStream>(hidlStream);
    std::vector<sp<Hidl::ICameraStreamControlTarget>> named;
    service->on<&I::controlEvery>([&](const auto& targets, auto) {
        named = targets;
        return service->result;
    });
    const std::shared_ptr<ICameraStream> first = provider.getStream(FrameType::HEADSET, "first");
    const std::shared_ptr<ICameraStream> second = provider.getStream(FrameType::HAND, "second");
    const auto& target1 = first->streamControlTarget();
    const auto& target2 = second->streamControlTarget();
    provider.startEvery({first, nullptr, second});
    EXPECT_THAT(named, ElementsAre(target1, target2));
    service->result = Hidl::Result::IGNORED;
    provider.stopEvery({second});
    EXPECT_THAT(named, ElementsAre(target2));
    provider.startEvery({nullptr});
    EXPECT_THAT(named, IsEmpty());
    EXPECT_THAT(service->calls,
                ElementsAre("controlEvery START", "controlEvery STOP", "controlEvery START"));
}

TEST_F(CameraProviderDeathTest, RefusedAndUndeliveredCallsAreFatalWithTheirOwnMessages) {
    const std::string ignorable =
        "hidlReturn != Hidl::Result::SUCCESS && hidlReturn != Hidl::Result::IGNORED";
    ChannelSettings channels;
    for (uint32_t type = 0; type < 20; ++type) {
        channels.channels.push_back(static_cast<FrameType>(type));
    }
    const std::string stream = "std::unique_ptr<ICameraStream> ";
    const std::string text = "const std::string &";
    expectFatal(
        *service, "CameraProvider::",
        {{"std::vector<CameraProperties> ", "getProperties()", [&] { provider.getProperties(); }},
         {stream, "getStream(Quopa::Sensors::v3::FrameType, " + text + ")",
          [&] { provider.getStream({}, ""); }},
         {stream, "getStreamByPurpose(" + text + ", " + text + ", " + text + ")",
          [&] { provider.getStreamByPurpose("", "", ""); }},
         {"std::unique_ptr<ICameraStreamController> ",
          "getStreamController(" + text + ", " + text + ")",
          [&] { provider.getStreamController("", ""); }},
         {"Vek::Sensors::UtilityFrequency ", "getUtilityFrequency()",
          [&] { provider.getUtilityFrequency(); }},
         {"void ", "setUtilityFrequency(Vek::Sensors::UtilityFrequency)",
          [&] { provider.setUtilityFrequency({}); }, "Failed to set utility frequency: 2"},
         {"Vek::Sensors::ChannelSettings ", "getChannels()", [&] { provider.getChannels(); }},
         {"void ", "setChannels(Vek::Sensors::ChannelSettings)", [&] { provider.setChannels({}); },
          "Failed to set channels  with status: 2"},
         {"void ", "setChannels(Vek::Sensors::ChannelSettings)",
          [&] { provider.setChannels(channels); },
          "Failed to set channels NOT_RECEIVED, INVALID, HEADSET, CONTROLLER, HAND, "
          "FACE_EYE_COMPOSITE, EYE, FACE, DEPTH, COLOR, GENERIC_SLOT_0, GENERIC_SLOT_1, "
          "GENERIC_SLOT_2, GENERIC_SLOT_3, GENERIC_SLOT_4, GENERIC_SLOT_5, GENERIC_SLOT_6, "
          "GENERIC_SLOT_7, NUM_FRAME_TYPES, UNKNOWN with status: 2"},
         {"bool ", "applyMuxMode(" + text + ", uint8_t)", [&] { provider.applyMuxMode("", 0); }},
         {"void ", "setFrameRate(Vek::Sensors::FrameRateSettings)",
          [&] { provider.setFrameRate({}); }, "Failed to set frame rate: 2"},
         {"bool ", "getRawImageMode()", [&] { provider.getRawImageMode(); }}},
        Hidl::Result::BAD_STATE);
    const auto start = [&] { provider.startEvery({}); };
    const auto stop = [&] { provider.stopEvery({}); };
    const std::string signature =
        "F/Moriak-HidlWrapper: HIDL error in void Vek::Sensors::HidlWrapper::CameraProvider::"
        "controlEvery(const std::vector<std::shared_ptr<ICameraStream>> &, Hidl::StreamCommand): ";
    service->transportFails = true;
    expectFatal({{signature, start}, {signature, stop}});
    service->transportFails = false;
    service->result = Hidl::Result::BAD_STATE;
    expectFatal({{assertion(ignorable, "Stream command (START) failed with result: 2"), start},
                 {assertion(ignorable, "Stream command (STOP) failed with result: 2"), stop}});
    service->result = Hidl::Result::SUCCESS;
    // Also the calls for the calibration that follow the list of the cameras.
    listCameras({{}});
    service->on<&I::getCalibrationData>([](auto, const auto&) -> android::hardware::Return<void> {
        return android::hardware::Status::fromStatusT(android::DEAD_OBJECT);
    });
    EXPECT_DEATH(provider.getProperties(),
                 HasSubstr("HIDL error in virtual std::vector<CameraProperties> "
                           "Vek::Sensors::HidlWrapper::CameraProvider::getProperties(): "));
}

}  // namespace
