// The simulated cameras: what they draw, and the account of what they hand out.
#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "camera/camera_devices.h"
#include "camera/mux_control.h"
#include "owned_handle.h"
#include "support/camera_client_end.h"

namespace {

using namespace Simulator;
using Hidl::Result;
using Hidl::StreamCommand;
using TestSupport::CameraClientEnd;
using Verdict = FrameSetLedger::Verdict;

/// For tests that do not look at the images.
class NoImages : public ImageSource {
  public:
    bool draw(const ImageRequest& /*request*/, const PixelPlane& /*plane*/) override {
        return true;
    }
    CalibrationTexts calibration(const CameraStreamPlan& /*stream*/, const CameraPlan& /*camera*/,
                                 const std::vector<std::string>& /*sessionData*/) const override {
        return {};
    }
};

Hidl::FrameSet frameSetOf(uint32_t sequence, uint32_t buffer) {
    Hidl::FrameSet frameSet{};
    frameSet.sequence = sequence;
    frameSet.frames[0].bufferIndex = buffer;
    return frameSet;
}

TEST(FrameSetLedgerTest, EveryFrameSetMustReturnOnceAndUnchanged) {
    FrameSetLedger ledger;
    EXPECT_EQ(ledger.takeBack(frameSetOf(0, 0)), Verdict::ALTERED);  // never handed out
    ledger.handOut(frameSetOf(UINT32_MAX, 7));
    ledger.handOut(frameSetOf(0, 8));
    EXPECT_TRUE(ledger.isFull());
    EXPECT_TRUE(ledger.holds(7) && ledger.holds(8));
    EXPECT_EQ(ledger.takeBack(frameSetOf(UINT32_MAX, 7)), Verdict::INTACT);
    EXPECT_FALSE(ledger.holds(7));
    EXPECT_EQ(ledger.takeBack(frameSetOf(UINT32_MAX, 7)), Verdict::TWICE);
    EXPECT_EQ(ledger.takeBack(frameSetOf(0, 9)), Verdict::ALTERED);
    EXPECT_FALSE(ledger.holds(8));
    EXPECT_EQ(ledger.takeBack(frameSetOf(1, 0)), Verdict::ALTERED);
    EXPECT_EQ(ledger.outstanding(), 0U);
}

TEST(ExposureControlTest, LastOverrideCountsWithinTheLimits) {
    ExposureControl control;
    const int first = 0;
    const int second = 0;
    Hidl::ExposureGainSettings settings{};
    settings.numCameras = 1;
    settings.cameras[0] = {1'000'000, 2, 2};
    EXPECT_EQ(control.set(&first, settings, 0), Result::BAD_STATE);
    control.startOverriding(&first);
    control.startOverriding(&second);
    EXPECT_EQ(control.set(&first, settings, 0), Result::SUCCESS);
    EXPECT_EQ(control.next(1, 1)[0].exposureTime, 1'000'000U);
    settings.cameras[0] = {UINT64_MAX, NAN, INFINITY};
    EXPECT_EQ(control.set(&second, settings, 1), Result::SUCCESS);
    const Hidl::ExposureGain limited = control.next(2, 1)[0];
    EXPECT_EQ(limited.exposureTime, ExposureLimits{}.maxExposureTime);
    EXPECT_EQ(limited.analogGain, 1);  // what is no number becomes the least
    EXPECT_EQ(limited.digitalGain, 4);
    EXPECT_EQ(control.next(2, 1)[0].exposureTime, 1'000'000U);  // held for one frame set only
    settings.numCameras = 11;
    EXPECT_EQ(control.set(&second, settings, 0), Result::FAILURE);
}

TEST(ExposureControlTest, AutomaticExposureFitsTheLampsAndGainDoesTheRest) {
    ExposureControl control;
    for (const double brightness : {0.05, 0.2, 1.0, 1.15}) {
        const Hidl::ExposureGain exposure = control.next(1, brightness)[0];
        EXPECT_EQ(exposure.exposureTime, 10'000'000U);
        EXPECT_NEAR(brightnessOf(exposure) * brightness, 1, 1e-3);
    }
    control.setUtilityFrequency(Hidl::UtilityFrequency::FREQUENCY_60_HZ);
    EXPECT_EQ(control.next(1, 1)[0].exposureTime, 8'333'333U);
    // In the sun, a period is too long.
    EXPECT_NEAR(brightnessOf(control.next(1, 20)[0]) * 20, 1, 1e-3);
}

class FrameSetServerTest : public ::testing::Test {
  protected:
    ~FrameSetServerTest() override { server_->stop(); }

    std::shared_ptr<Faults> faults_ = std::make_shared<Faults>(FaultSettings{});
    std::shared_ptr<WorldClock> clock_ = std::make_shared<WorldClock>();
    android::sp<FrameSetServer> server_ =
        new FrameSetServer(cameraStreamPlans()[0], std::make_shared<NoImages>(), faults_, clock_);
    std::shared_ptr<MuxControl> mux_ =
        std::make_shared<MuxControl>(std::vector<android::sp<FrameSetServer>>{server_}, clock_);
    android::sp<CameraStreamService> service_ =
        makeService<CameraStreamService>(faults_, server_, mux_);
};

TEST_F(FrameSetServerTest, BuffersAreReusedOnlyAfterTheirReturnAndFaultsAreCounted) {
    CameraClientEnd client(service_);
    CameraClientEnd honest(service_);
    for (auto* each : {&client, &honest}) {
        EXPECT_EQ(each->prepare(), Result::SUCCESS);
        EXPECT_EQ(each->control(StreamCommand::START), Result::SUCCESS);
    }
    const Hidl::FrameSet first = client.take();
    // Not before the last row of any image has been exposed.
    EXPECT_GE(first.frames[0].arrivalTimestamp,
              first.timestamp + static_cast<int64_t>(first.frames[0].exposureTime) / 2);
    const Hidl::FrameSet second = client.take();
    EXPECT_NE(first.frames[0].bufferIndex, second.frames[0].bufferIndex);
    // A client that holds two frame sets gets no more; the other still gets all.
    for (int i = 0; i < 5; ++i) {
        const Hidl::FrameSet frameSet = honest.take();
        if (frameSet.sequence > second.sequence) {
            EXPECT_NE(frameSet.frames[0].bufferIndex, first.frames[0].bufferIndex);
            EXPECT_NE(frameSet.frames[0].bufferIndex, second.frames[0].bufferIndex);
        }
        honest.giveBack(frameSet);
    }
    EXPECT_EQ(client.queue.availableToRead(), 0U);

    Hidl::FrameSet altered = second;
    ++altered.frames[0].width;
    for (const Hidl::FrameSet& frameSet : {first, first, altered}) {
        client.giveBack(frameSet);
    }
    client.take();
    EXPECT_EQ(client.control(StreamCommand::DISCONNECT), Result::SUCCESS);
    EXPECT_EQ(honest.control(StreamCommand::STOP), Result::SUCCESS);
    server_->stop();
    const FrameSetCounts counts = server_->counts();
    EXPECT_EQ(counts.cameTwice, 1U);
    EXPECT_EQ(counts.cameAltered, 1U);
    EXPECT_EQ(counts.neverCameBack, 1U);
    EXPECT_GT(counts.dropped, 0U);
    EXPECT_EQ(counts.cameBack, 6U);
    EXPECT_EQ(counts.handedOut,
              counts.cameBack + counts.cameAltered + counts.neverCameBack + counts.reclaimed);
}

TEST_F(FrameSetServerTest, StoppedStreamsOfAProcessGiveWayToItsNewOnes) {
    CameraClientEnd started(service_);
    EXPECT_EQ(started.prepare(), Result::SUCCESS);
    EXPECT_EQ(started.control(StreamCommand::START), Result::SUCCESS);
    std::vector<std::unique_ptr<CameraClientEnd>> forgotten;
    for (size_t i = 0; i < 2 * FrameSetServer::kMaxClients; ++i) {
        forgotten.push_back(std::make_unique<CameraClientEnd>(service_));
        EXPECT_EQ(forgotten.back()->prepare(), Result::SUCCESS);
    }
    EXPECT_EQ(forgotten[0]->control(StreamCommand::START), Result::BAD_STATE);
    EXPECT_EQ(started.control(StreamCommand::START), Result::IGNORED);
}

TEST_F(FrameSetServerTest, ClientsCannotWriteImages) {
    const Hidl::CameraStreamMetadata metadata = server_->metadata();
    const int shared = metadata.cameras[0].buffers[0].pixels->data[0];
    const android::base::unique_fd writable(
        open(("/proc/self/fd/" + std::to_string(shared)).c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_TRUE(writable.ok());
    EXPECT_EQ(mmap(nullptr, 1, PROT_READ | PROT_WRITE, MAP_SHARED, writable.get(), 0), MAP_FAILED);
    EXPECT_EQ(pwrite(writable.get(), "x", 1, 0), -1);
}

TEST_F(FrameSetServerTest, HandlesAreNotCopiedWhichTakesDescriptorsAndIsFatalWithoutAny) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    // With descriptors first: sanitizers need some where they see a class for the first time.
    for (const rlim_t limit : {before.rlim_cur, rlim_t{0}}) {
        const int descriptor = dup(STDERR_FILENO);
        const rlimit changed{limit, before.rlim_max};
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &changed), 0);
        const auto handle = ownedHandle({descriptor});
        const Hidl::CameraStreamMetadata metadata = server_->metadata();
        setrlimit(RLIMIT_NOFILE, &before);
        EXPECT_EQ(handle->data[0], descriptor);
        EXPECT_NE(metadata.cameras[0].buffers[0].pixels.getNativeHandle(), nullptr);
    }
}

/// Does not return from its call before it is told to.
struct StuckCallback : Hidl::IFrameConfigCallback {
    Return<void> handleCameraConfigUpdate(const Hidl::MuxState& /*state*/) override {
        called.set_value();
        released.get_future().wait();
        return Void();
    }
    std::promise<void> called;
    std::promise<void> released;
};

TEST_F(FrameSetServerTest, StuckClientDoesNotBlockRegistrationsOfOthers) {
    CameraClientEnd stuck(service_);
    CameraClientEnd other(service_);
    EXPECT_EQ(stuck.prepare(), Result::SUCCESS);
    EXPECT_EQ(other.prepare(), Result::SUCCESS);
    const android::sp<StuckCallback> callback = new StuckCallback;
    Hidl::MuxState state;
    EXPECT_EQ(mux_->addCallback(*server_, stuck.identity, callback, &state), Result::SUCCESS);
    const auto change = std::async(std::launch::async, [&] { mux_->apply("tracking", 1); });
    callback->called.get_future().wait();
    EXPECT_EQ(mux_->addCallback(*server_, other.identity, new StuckCallback, &state),
              Result::SUCCESS);
    EXPECT_EQ(state.muxMode.name, "tracking");
    callback->released.set_value();
}

TEST_F(FrameSetServerTest, WhatCannotBeUsedIsRefused) {
    CameraClientEnd dead(service_);
    dead.identity->isDead = true;
    EXPECT_EQ(dead.prepare(), Result::FAILURE);
    EXPECT_EQ(dead.control(StreamCommand::START), Result::BAD_STATE);

    using Resolution = Hidl::Resolution;
    EXPECT_EQ(server_->setResolutions({Resolution::HALF}), Result::FAILURE);
    EXPECT_EQ(server_->setResolutions({Resolution::HALF, static_cast<Resolution>(3)}),
              Result::FAILURE);
    EXPECT_EQ(server_->setSyncMode(static_cast<Hidl::CameraSyncMode>(3)), Result::FAILURE);
    EXPECT_EQ(server_->setFrameRate(static_cast<Hidl::FrameRate>(61)), Result::FAILURE);
    for (const char* const name : {"", "a\"b", "../../etc"}) {
        EXPECT_EQ(service_->writeSessionOcalData(name, {}), Result::FAILURE) << name;
    }
}

}  // namespace
