// Camera streams and controllers: control calls, image buffers and mux states.
#include "camera/camera_stream.h"

#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "camera/camera_stream_controller.h"
#include "support/captured_log.h"
#include "support/fake_camera_hal.h"
#include "support/fatal_calls.h"

namespace {

using namespace ::testing;
using namespace TestSupport;
using namespace Vek::Sensors;
using HidlWrapper::CameraStream;
using HidlWrapper::CameraStreamController;

class CameraStreamTest : public Test {
  protected:
    using I = Hidl::ICameraStream;

    CameraStreamTest() { service->client = client; }

    static ExposureGainSettings exposureOf(uint32_t numCameras) {
        auto settings = filledWith<ExposureGainSettings>(1);
        settings.numCameras = numCameras;
        return settings;
    }

    sp<FakeCameraStream> service = new FakeCameraStream;
    CameraStream stream{sp<Hidl::ICameraStream>(service), "tracker"};
    sp<Hidl::ISensorClient> client = stream.streamControlTarget()->getClient();
    sp<Fake<Hidl::ICameraStreamController>> controllerService =
        new Fake<Hidl::ICameraStreamController>;
    CameraStreamController controller{sp<Hidl::ICameraStreamController>(controllerService)};
};
using CameraStreamDeathTest = CameraStreamTest;

TEST_F(CameraStreamTest, ControlCallsCarryTheirArgumentsAndTheStreamsClient) {
    stream.startOverridingExposureSettings();
    stream.stopOverridingExposureSettings();
    stream.setPhaseOffset(UINT64_MAX);
    stream.setCameraSyncMode(CameraSyncMode::DISPLAY);
    stream.writeSessionOcalData("lens", std::array<uint8_t, 2>{3, 255});
    for (const auto& sizes : {std::vector{Resolution::HALF, Resolution::FULL}, {}}) {
        EXPECT_TRUE(stream.setResolution(sizes));
    }
    // start() accepts IGNORED, because the stream is already in the requested state; no other call
    // does.
    service->result = Hidl::Result::IGNORED;
    stream.start();
    stream.stop();
    EXPECT_THAT(
        service->calls,
        ElementsAre("startOverridingExposureSettings true", "stopOverridingExposureSettings true",
                    "setPhaseOffset 18446744073709551615", "setCameraSyncMode DISPLAY",
                    "writeSessionOcalData \"lens\" [3, 255]", "setResolution [HALF, FULL]",
                    "setResolution []", "controlStream true START", "controlStream true STOP"));
}

TEST_F(CameraStreamTest, ConfigurationIsReturnedUnchanged) {
    const auto camera = filledWith<Hidl::CameraConfiguration>(6);
    service->returns<&I::getConfiguration>(Hidl::CameraStreamConfiguration{{{}, camera}, 90});
    const CameraStreamConfiguration configuration = stream.getConfiguration();
    EXPECT_EQ(configuration.frameSetRate, 90U);
    ASSERT_THAT(configuration.cameras, SizeIs(2));
    EXPECT_TRUE(sameBytes(configuration.cameras[1], camera));
}

TEST_F(CameraStreamTest, ExposureEntriesBeyondNumCamerasAreSentAsZero) {
    for (const uint32_t numCameras : {0U, 3U, 10U}) {
        const ExposureGainSettings settings = exposureOf(numCameras);
        auto expected = filledWith<ExposureGainSettings>(0);
        expected.numCameras = numCameras;
        std::copy_n(settings.cameras.begin(), numCameras, expected.cameras.begin());
        Hidl::ExposureGainSettings sent{};
        service->on<&I::setExposureGain>([&](auto& sender, auto& gain) {
            EXPECT_EQ(sender, client);
            sent = gain;
            return Void();
        });
        stream.setExposureGain(settings);
        EXPECT_TRUE(sameBytes(sent, expected)) << numCameras;
    }
}

TEST_F(CameraStreamDeathTest, ExposureOfTooManyCamerasIsFatalBeforeAnythingIsSent) {
    const std::string text =
        "^F/Moriak-HidlWrapper: Assertion failed: input.numCameras > kMaxFrameSetSize\n$";
    EXPECT_DEATH(stream.setExposureGain(exposureOf(11)), text);
    EXPECT_DEATH(controller.setExposureGain(0, 0, exposureOf(UINT32_MAX)), text);
}

TEST_F(CameraStreamTest, ControllerTellsARefusalFromSuccess) {
    CapturedLog log;
    const auto expectEach = [this](bool accepted) {
        EXPECT_EQ(controller.startOverridingExposureSettings(), accepted);
        EXPECT_EQ(controller.stopOverridingExposureSettings(), accepted);
        EXPECT_EQ(controller.setExposureGain(255, UINT32_MAX, exposureOf(2)), accepted);
    };
    expectEach(true);
    controllerService->result = Hidl::Result::BAD_STATE;
    expectEach(false);
    controllerService->result = Hidl::Result::IGNORED;
    expectEach(false);
    EXPECT_THAT(log.take(), IsEmpty());
    const auto& calls = controllerService->calls;
    EXPECT_EQ(std::count_if(calls.begin(), calls.end(),
                            [](const std::string& call) {
                                return call.rfind("setExposureGain 255 4294967295 ", 0) == 0;
                            }),
              3);
}

size_t mappingsNamed(const std::string& name) {
    std::ifstream maps{"/proc/self/maps"};
    size_t count = 0;
    for (std::string line; std::getline(maps, line);) {
        count += line.find(name) != std::string::npos ? 1 : 0;
    }
    return count;
}

TEST_F(CameraStreamTest, ImageBuffersAreReadableUntilTheirLastOwnerGoes) {
    const auto pixels = [](const std::string& bytes) {
        return handleOf({sharedMemory(bytes, "camera-pixels")});
    };
    const auto text = [](gsl::span<const std::byte> bytes) {
        return std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    };
    const android::base::unique_fd memory{sharedMemory("read-only")};
    const int number = memory.get();
    const int readOnly =
        open(("/proc/self/fd/" + std::to_string(number)).c_str(), O_RDONLY | O_CLOEXEC);
    const int shrinking = memfd_create("shrinking", MFD_CLOEXEC);
    ASSERT_EQ(ftruncate(shrinking, 4096), 0);
    service->on<&I::getMetadata>([&](const auto& callback) {
        callback(Hidl::Result::SUCCESS, {{{7,
                                           {{pixels("first"), {}},
                                            {{}, handleOf({sharedMemory("supplement")})},
                                            {pixels("third"), handleOf({}, {number})},
                                            {handleOf({dup(STDERR_FILENO)}), {}},
                                            {handleOf({shrinking}), handleOf({readOnly})}}},
                                          {8, {}}},
                                         5});
        return Void();
    });
    std::shared_ptr<Vek::OS::ImageBuffer> third;
    {
        const auto metadata = stream.getMetadata();
        EXPECT_EQ(metadata.bufferGeneration, 5U);
        ASSERT_THAT(metadata.cameras, SizeIs(2));
        EXPECT_EQ(metadata.cameras[0].cameraId, 7U);
        EXPECT_THAT(metadata.cameras[0].reservedBuffers, IsEmpty());
        EXPECT_THAT(metadata.cameras[1].buffers, IsEmpty());
        std::vector<std::string> texts;
        for (const auto& buffer : metadata.cameras[0].buffers) {
            texts.push_back(text(buffer->pixels()) + "," + text(buffer->supplement()));
        }
        EXPECT_THAT(texts, ElementsAre("first,", ",supplement", "third,", ",", ",read-only"));
        third = metadata.cameras[0].buffers[2];
        EXPECT_EQ(mappingsNamed("camera-pixels"), 2U);
    }
    EXPECT_EQ(mappingsNamed("camera-pixels"), 1U);
    EXPECT_EQ(text(third->pixels()), "third");
}

TEST_F(CameraStreamTest, MuxStateAndItsChangesReachTheClient) {
    const auto camera = filledWith<Hidl::CameraGlobalConfiguration>(4);
    const auto slot = filledWith<Hidl::CameraPerSlotConfiguration>(5);
    const Hidl::MuxMode mode{"tracking",
                             "fallback",
                             {"hands", "head"},
                             {{"hands", {1}}, {"head", {}}, {"hands", {2, 3}}},
                             {{"depth", {4}}}};
    sp<Hidl::IFrameConfigCallback> told;
    service->on<&I::registerFrameConfigCallback>(
        [&](auto& caller, auto& callback, const auto& answer) {
            EXPECT_EQ(caller, client);
            told = callback;
            answer(Hidl::Result::SUCCESS, {3, UINT64_MAX, mode, {{}, camera}, {{}, {slot}}});
            return Void();
        });
    FrameSetConfigurationUpdate update;
    const auto state = stream.registerFrameSetConfigurationUpdateCallback(
        [&](const FrameSetConfigurationUpdate& changed) { update = changed; });
    const auto purpose = [](const char* name, std::vector<uint8_t> data) {
        return Pair(name, Field(&PurposeData::data, std::move(data)));
    };
    EXPECT_EQ(state.header, 3U);
    EXPECT_EQ(state.value, UINT64_MAX);
    // If a name occurs twice, the last one counts.
    EXPECT_THAT(state.muxMode,
                FieldsAre("tracking", "fallback", ElementsAre("hands", "head"), IsEmpty(),
                          UnorderedElementsAre(purpose("hands", {2, 3}), purpose("head", {})),
                          ElementsAre(purpose("depth", {4}))));
    ASSERT_THAT(state.globalConfigurations, SizeIs(2));
    EXPECT_TRUE(sameBytes(state.globalConfigurations[1], camera));
    ASSERT_THAT(state.slotConfigurations, SizeIs(2));
    EXPECT_THAT(state.slotConfigurations[0].cameras, IsEmpty());
    ASSERT_THAT(state.slotConfigurations[1].cameras, SizeIs(1));
    EXPECT_TRUE(sameBytes(state.slotConfigurations[1].cameras[0], slot));

    ASSERT_TRUE(told->handleCameraConfigUpdate({4, 5, {}, {}, {}}).isOk());
    EXPECT_EQ(update.header, 4U);
    EXPECT_THAT(update.slotConfigurations, IsEmpty());

    EXPECT_EQ(stream.registerFrameSetConfigurationUpdateCallback({}).header, 3U);
    EXPECT_TRUE(told->handleCameraConfigUpdate({6, 7, {}, {}, {}}).isOk());
    EXPECT_EQ(update.header, 4U);
}

TEST_F(CameraStreamDeathTest, RefusedAndUndeliveredCallsAreFatalWithTheirOwnMessages) {
    const std::string ignorable =
        "hidlReturn != Hidl::Result::SUCCESS && hidlReturn != Hidl::Result::IGNORED";
    const std::string status = "status != Hidl::Result::SUCCESS";
    const std::string unrecoverable = "hidlReturn == Hidl::Result::FAILURE";
    using Result = Hidl::Result;
    // Uses an error other than FAILURE, which a check for FAILURE alone would miss.
    expectFatal(
        *service, "CameraStream::",
        {{"void ", "start()", [&] { stream.start(); }, "Start stream command failed with result: 2",
          ignorable},
         {"void ", "stop()", [&] { stream.stop(); }, "Stop stream command failed with result: 2",
          ignorable},
         {"void ", "startOverridingExposureSettings()",
          [&] { stream.startOverridingExposureSettings(); },
          "Failed to start overriding exposure settings: 2"},
         {"void ", "stopOverridingExposureSettings()",
          [&] { stream.stopOverridingExposureSettings(); },
          "Failed to stop overriding exposure settings: 2"},
         {"void ", "setExposureGain(Vek::Sensors::ExposureGainSettings)",
          [&] { stream.setExposureGain({}); }},
         {"void ", "setPhaseOffset(uint64_t)", [&] { stream.setPhaseOffset(0); }},
         {"void ", "setCameraSyncMode(Vek::Sensors::CameraSyncMode)",
          [&] { stream.setCameraSyncMode({}); }, "Failed to set camera mode: 2"},
         {"void ", "writeSessionOcalData(const std::string &, gsl::span<const uint8_t>)",
          [&] { stream.writeSessionOcalData("", {}); },
          "Failed to write online calibration data: 2"},
         {"bool ", "setResolution(std::vector<Resolution>)", [&] { stream.setResolution({}); },
          "Failed to set resolution: 2"},
         {"Vek::Sensors::CameraStreamMetadata ", "getMetadata()", [&] { stream.getMetadata(); },
          "Failed to fetch stream metadata: 2", status},
         {"Vek::Sensors::CameraStreamConfiguration ", "getConfiguration()",
          [&] { stream.getConfiguration(); }, "Failed to fetch stream configuration: 2", status},
         {"Vek::Sensors::FrameSetConfigurationUpdate ",
          "registerFrameSetConfigurationUpdateCallback(std::function<void (const "
          "FrameSetConfigurationUpdate &)>)",
          [&] { stream.registerFrameSetConfigurationUpdateCallback({}); },
          "Failed to register handler and return initial MuxState: 2 Please ensure you have added "
          "the CameraStream to a CompositeStream and that the stream is stopped.",
          status}},
        Result::BAD_STATE);
    expectFatal(*controllerService, "CameraStreamController::",
                {{"bool ", "startOverridingExposureSettings()",
                  [&] { controller.startOverridingExposureSettings(); },
                  "Unrecoverably failed to start overriding exposure settings: 1", unrecoverable},
                 {"bool ", "stopOverridingExposureSettings()",
                  [&] { controller.stopOverridingExposureSettings(); },
                  "Unrecoverably failed to stop overriding exposure settings: 1", unrecoverable},
                 {"bool ", "setExposureGain(uint8_t, uint32_t, Vek::Sensors::ExposureGainSettings)",
                  [&] { controller.setExposureGain(0, 0, {}); },
                  "Unrecoverably failed to set exposure gain settings: 1", unrecoverable}},
                Result::FAILURE);
}

}  // namespace
