// Clients of the cameras, against the simulated service in its own process.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <vek/sensors/service.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <future>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "end_to_end/camera_account.h"
#include "end_to_end/environment.h"
#include "end_to_end/inbox.h"

namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using ::testing::KilledBySignal;
using TestSupport::CameraAccount;
using TestSupport::EndToEndTest;
using TestSupport::Simulator;
using namespace Vek::Sensors;

using EndToEndDeathTest = EndToEndTest;

/// An image of 8-bit grey, as long as its frame set is the client's.
class GreyImage {
  public:
    GreyImage(const CameraFrame& frame, gsl::span<const std::byte> pixels)
        : frame_(frame), pixels_(pixels) {
        EXPECT_EQ(frame.pixelFormat, PixelFormat::GREY_8);
        EXPECT_GE(frame.stride, frame.width);
        EXPECT_LE(size_t{frame.stride} * frame.height, pixels.size());
    }

    /// What is printed in the corner, '?' where it is neither digit nor dash.
    std::string print() const {
        std::string text;
        for (uint32_t cell = 0; cell < 8; ++cell) {
            text += glyphAt(2 + 6 * cell, 2);
        }
        return text;
    }

    /// Mean of the rows below the print.
    double brightness() const {
        double sum = 0;
        for (uint32_t y = frame_.height / 4; y < frame_.height; ++y) {
            for (uint32_t x = 0; x < frame_.width; ++x) {
                sum += at(x, y);
            }
        }
        return sum / (frame_.width * (frame_.height - frame_.height / 4));
    }

  private:
    uint8_t at(uint32_t x, uint32_t y) const {
        return static_cast<uint8_t>(pixels_[size_t{y} * frame_.stride + x]);
    }

    /// Seven segments, read from a square of each of them; the position is in squares.
    char glyphAt(uint32_t left, uint32_t top) const {
        // Top, upper right, lower right, bottom, lower left, upper left, middle.
        constexpr uint32_t kSquares[][2] = {{1, 0}, {3, 2}, {3, 4}, {1, 6}, {0, 4}, {0, 2}, {1, 3}};
        constexpr const char* kGlyphs[] = {"1111110", "0110000", "1101101", "1111001",
                                           "0110011", "1011011", "1011111", "1110000",
                                           "1111111", "1111011", "0000001"};
        const uint32_t size = frame_.width / 128;
        std::string lit;
        for (const auto& [x, y] : kSquares) {
            lit += at((left + x) * size + size / 2, (top + y) * size + size / 2) > 127 ? '1' : '0';
        }
        const auto* const found = std::find(std::begin(kGlyphs), std::end(kGlyphs), lit);
        return found == std::end(kGlyphs) ? '?' : "0123456789-"[found - kGlyphs];
    }

    CameraFrame frame_;
    gsl::span<const std::byte> pixels_;
};

/// Reads the frame sets of one stream, and looks at each of them as long as it has it.
class CameraReader {
  public:
    CameraReader(ICameraProvider& provider, FrameType type)
        : camera(provider.getStream(type, "test")), metadata(camera->getMetadata()) {
        camera->stream().setCallbackv([this](IDataStream<FrameSet>::Batch spans) {
            ASSERT_EQ(spans.size(), 1U);
            ASSERT_EQ(spans[0].size(), 1U);
            receive(spans[0][0]);
        });
    }

    GreyImage image(const FrameSet& frameSet, size_t index) const {
        const CameraFrame& frame = frameSet.frames[index];
        return {frame, metadata.cameras.at(index).buffers.at(frame.bufferIndex)->pixels()};
    }

    std::shared_ptr<ICameraStream> camera;
    CameraStreamMetadata metadata;
    std::function<void(const FrameSet&)> look;
    size_t frameSets = 0;
    size_t lost = 0;
    FrameSet last{};

  private:
    void receive(const FrameSet& frameSet) {
        EXPECT_EQ(frameSet.numFrames, metadata.cameras.size());
        if (frameSets > 0) {
            EXPECT_GT(frameSet.sequence, last.sequence);
            EXPECT_GT(frameSet.timestamp, last.timestamp);
            lost += frameSet.sequence - last.sequence - 1;
        }
        last = frameSet;
        if (look) {
            look(frameSet);
        }
        ++frameSets;
    }
};

/// The cameras of one client, waited on together.
class CameraClient {
  public:
    explicit CameraClient(const std::vector<FrameType>& types) {
        for (const FrameType type : types) {
            readers.push_back(std::make_unique<CameraReader>(*provider, type));
            readers.back()->camera->stream().addTo(*composite);
        }
    }

    void start() { provider->startEvery(cameras()); }
    /// Stops, and hands back frame sets that have arrived until then.
    void stop() {
        provider->stopEvery(cameras());
        composite->waitFor(0ns);
    }
    bool waitUntil(const std::function<bool()>& isReached) {
        return TestSupport::receiveUntil(*composite, isReached);
    }
    /// Receives frame sets of each stream. False if they do not arrive within a generous bound.
    bool receive(size_t count) {
        std::vector<size_t> targets;
        for (const auto& reader : readers) {
            targets.push_back(reader->frameSets + count);
        }
        return waitUntil([&] {
            return std::equal(
                readers.begin(), readers.end(), targets.begin(),
                [](const auto& reader, size_t target) { return reader->frameSets >= target; });
        });
    }

    CameraReader& first() { return *readers.front(); }
    ICameraStream& camera() { return *first().camera; }

    std::unique_ptr<ICameraProvider> provider = createCameraProvider();
    std::unique_ptr<ICompositeStream> composite = TestSupport::makeComposite();
    std::vector<std::unique_ptr<CameraReader>> readers;

  private:
    std::vector<std::shared_ptr<ICameraStream>> cameras() const {
        std::vector<std::shared_ptr<ICameraStream>> all;
        for (const auto& reader : readers) {
            all.push_back(reader->camera);
        }
        return all;
    }
};

TEST_F(EndToEndTest, CamerasAndMotionArriveTogetherAndEveryFrameSetComesBackOnce) {
    Simulator simulator;
    CameraClient client(
        {FrameType::HEADSET, FrameType::HAND, FrameType::EYE, FrameType::DEPTH, FrameType::COLOR});
    const auto imu = createImuSensor();
    TestSupport::Inbox<ImuData> samples(imu->stream(), *client.composite);
    // The test does not look at these images, so they need not be drawn in full.
    for (const auto& reader : client.readers) {
        reader->camera->setResolution(
            std::vector<Resolution>(reader->metadata.cameras.size(), Resolution::QUARTER));
    }
    client.start();
    client.start();  // Running streams stay so.
    imu->start();
    EXPECT_TRUE(client.receive(30) && samples.receive(1000));
    client.stop();
    imu->stop();
    EXPECT_EQ(samples.lost(), 0U);
    const std::string summary = simulator.finish();
    const char* const names[] = {"headset cameras", "hand camera", "eye cameras", "depth camera",
                                 "color camera"};
    for (size_t i = 0; i < std::size(names); ++i) {
        const CameraAccount account(summary, names[i]);
        EXPECT_EQ(account.handedOut, client.readers[i]->frameSets) << names[i];
        EXPECT_LE(client.readers[i]->lost, account.dropped) << names[i];
        EXPECT_EQ(account.reclaimed, 0U) << names[i];
        EXPECT_TRUE(account.isBalanced()) << summary;
    }
}

TEST_F(EndToEndTest, PixelsShowTheirCameraAndFrame) {
    const Simulator simulator;
    CameraClient client({FrameType::HEADSET});
    client.first().look = [&](const FrameSet& frameSet) {
        for (size_t i = 0; i < frameSet.numFrames; ++i) {
            char expected[16];
            std::snprintf(expected, sizeof(expected), "%u-%06u", frameSet.frames[i].cameraId,
                          frameSet.sequence);
            EXPECT_EQ(client.first().image(frameSet, i).print(), expected);
        }
    };
    client.start();
    EXPECT_TRUE(client.receive(20));
    client.stop();
    // The name on a calibration is the camera's own.
    for (const CameraProperties& camera : client.provider->getProperties()) {
        const std::string id = "\"camera\": " + std::to_string(camera.cameraId) + ",";
        EXPECT_THAT(camera.calibrationData1, HasSubstr(id));
        EXPECT_THAT(camera.calibrationData2, HasSubstr(id));
    }
}

TEST_F(EndToEndTest, OverriddenExposureChangesTheBrightnessUntilTheOverrideEnds) {
    const Simulator simulator({"--flicker", "0"});
    CameraClient client({FrameType::HEADSET});
    double brightness = 0;
    client.first().look = [&](const FrameSet& frameSet) {
        brightness = client.first().image(frameSet, 1).brightness();
    };
    client.start();
    const auto brightnessAt = [&](uint64_t exposureTime) {
        EXPECT_TRUE(client.waitUntil(
            [&] { return client.first().last.frames[1].exposureTime == exposureTime; }));
        return brightness;
    };
    EXPECT_TRUE(client.receive(1));
    const uint64_t automaticTime = client.first().last.frames[1].exposureTime;
    const float automaticGain = client.first().last.frames[1].analogGain;
    const double automatic = brightness;
    // The head moves, and with it what the camera sees.
    const double tolerance = automatic / 8;
    ExposureGainSettings settings{2, {}};
    settings.cameras.fill({automaticTime / 4, automaticGain, 1});
    client.camera().startOverridingExposureSettings();
    client.camera().setExposureGain(settings);
    EXPECT_NEAR(brightnessAt(automaticTime / 4), automatic / 4, tolerance / 2);
    client.camera().stopOverridingExposureSettings();
    EXPECT_NEAR(brightnessAt(automaticTime), automatic, tolerance);

    EXPECT_TRUE(client.camera().setResolution({Resolution::FULL, Resolution::HALF}));
    EXPECT_TRUE(client.waitUntil([&] { return client.first().last.frames[1].width == 320; }));
    EXPECT_EQ(client.camera().getConfiguration().cameras.at(1).height, 240U);
    client.stop();
}

TEST_F(EndToEndTest, MuxModeSwitchedWhileStreamingTakesEffectAtTheAnnouncedTime) {
    const Simulator simulator;
    CameraClient client({FrameType::HEADSET, FrameType::COLOR});
    std::promise<FrameSetConfigurationUpdate> told;
    const auto initial = client.camera().registerFrameSetConfigurationUpdateCallback(
        [&](const FrameSetConfigurationUpdate& update) { told.set_value(update); });
    const auto serves = [](const FrameSetConfigurationUpdate& state, const char* purpose) {
        return state.muxMode.purposeData.count(purpose) > 0;
    };
    EXPECT_TRUE(serves(initial, "passthrough"));
    client.start();
    EXPECT_TRUE(client.receive(5));
    EXPECT_EQ(client.first().last.muxState, initial.header);

    EXPECT_FALSE(client.provider->applyMuxMode("no such mode", 0));
    EXPECT_TRUE(client.provider->applyMuxMode(initial.muxMode.secondaryName, 0));
    auto update = told.get_future();
    ASSERT_EQ(update.wait_for(30s), std::future_status::ready);
    const FrameSetConfigurationUpdate state = update.get();
    EXPECT_EQ(state.muxMode.name, initial.muxMode.secondaryName);
    EXPECT_FALSE(serves(state, "passthrough"));
    EXPECT_EQ(state.slotConfigurations.size(), 2U);
    EXPECT_TRUE(client.waitUntil([&] { return client.first().last.muxState == state.header; }));
    EXPECT_GE(client.first().last.timestamp, static_cast<int64_t>(state.value));
    // The headset's cameras go on, the color camera has been left out.
    const size_t headsetFrames = client.first().frameSets;
    EXPECT_TRUE(client.waitUntil([&] { return client.first().frameSets > headsetFrames + 10; }));
    EXPECT_EQ(client.readers[1]->last.muxState, initial.header);
    client.stop();
}

TEST_F(EndToEndDeathTest, MuxRegistrationIsRefusedOnARunningStream) {
    EXPECT_DEATH(
        {
            const Simulator simulator;
            CameraClient client({FrameType::HEADSET});
            client.start();
            client.camera().registerFrameSetConfigurationUpdateCallback({});
        },
        "F/Moriak-HidlWrapper: Failed to register handler and return initial MuxState: 2 Please "
        "ensure you have added the CameraStream to a CompositeStream and that the stream is "
        "stopped.\n");
}

TEST_F(EndToEndDeathTest, ServiceKilledInTheMiddleOfAFrameSetEndsTheClientAtItsNextCommand) {
    EXPECT_EXIT(
        {
            TestSupport::watchForDeath();
            Simulator simulator;
            CameraClient client({FrameType::HEADSET});
            client.provider->registerDisconnectEventHandler(
                {[](const void* /*context*/) { std::fputs("handler called\n", stderr); }, nullptr});
            bool isWhole = false;
            client.first().look = [&](const FrameSet& frameSet) {
                if (client.first().frameSets == 5) {
                    simulator.kill();
                    // The images outlive the service.
                    isWhole = client.first().image(frameSet, 0).print().substr(0, 2) == "0-";
                }
            };
            client.start();
            client.waitUntil([&] { return client.first().frameSets > 5; });
            TestSupport::awaitDeath();
            client.composite->waitFor(0ns);
            if (!isWhole || client.composite->waitFor(0ns) == WaitResult::DELIVERED) {
                _exit(1);
            }
            client.camera().stop();
        },
        KilledBySignal(SIGABRT),
        "custom coronaries.\nhandler called\n[^\n]* ignoring.\nF/Moriak-HidlWrapper: HIDL error in "
        "virtual void Vek::Sensors::HidlWrapper::CameraStream::stop\\(\\): [^\n]*DEAD_OBJECT");
}

}  // namespace
