// A client of the simulated cameras, with both queues.
#pragma once

#include <gtest/gtest.h>
#include <vendor/zelvan/hardware/sensors/1.0/ICameraStream.h>

#include <memory>

#include "support/client_end.h"

namespace TestSupport {

/// Reads frame sets and hands them back on request.
class CameraClientEnd : public ClientEnd<Hidl::FrameSet> {
  public:
    explicit CameraClientEnd(const android::sp<Hidl::ICameraStream>& stream)
        : ClientEnd<Hidl::FrameSet>(1), stream_(stream) {}

    Hidl::Result prepare() {
        Hidl::Result prepared{};
        stream_->prepareStream(
            identity, *queue.getDesc(), config,
            [&](Hidl::Result result, const Queue::Descriptor& recycle, const Hidl::FmqConfig&) {
                prepared = result;
                wayBack =
                    result == Hidl::Result::SUCCESS ? std::make_unique<Queue>(recycle) : nullptr;
            });
        return prepared;
    }
    Hidl::Result control(Hidl::StreamCommand command) {
        return stream_->controlStream(identity, command);
    }

    Hidl::FrameSet take() {
        Hidl::FrameSet frameSet{};
        EXPECT_TRUE(awaitData());
        EXPECT_TRUE(queue.read(&frameSet));
        return frameSet;
    }
    void giveBack(const Hidl::FrameSet& frameSet) { EXPECT_TRUE(wayBack->write(&frameSet)); }

    std::unique_ptr<Queue> wayBack;

  private:
    const android::sp<Hidl::ICameraStream> stream_;
};

}  // namespace TestSupport
