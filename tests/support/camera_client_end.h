// A client of the simulated cameras, with both queues.
#pragma once

#include <gtest/gtest.h>
#include <vendor/zelvan/hardware/sensors/1.0/ICameraStream.h>

#include <memory>

#include "support/client_end.h"

namespace TestSupport {

/// Reads frame sets and hands them back on request.
class CameraClientEnd : public ClientEnd<Hal::FrameSet> {
  public:
    explicit CameraClientEnd(const android::sp<Hal::ICameraStream>& stream)
        : ClientEnd<Hal::FrameSet>(1), stream_(stream) {}

    Hal::Result prepare() {
        Hal::Result prepared{};
        stream_->prepareStream(
            identity, *queue.getDesc(), config,
            [&](Hal::Result result, const Queue::Descriptor& recycle, const Hal::FmqConfig&) {
                prepared = result;
                wayBack =
                    result == Hal::Result::SUCCESS ? std::make_unique<Queue>(recycle) : nullptr;
            });
        return prepared;
    }
    Hal::Result control(Hal::StreamCommand command) {
        return stream_->controlStream(identity, command);
    }

    Hal::FrameSet take() {
        Hal::FrameSet frameSet{};
        EXPECT_TRUE(awaitData());
        EXPECT_TRUE(queue.read(&frameSet));
        return frameSet;
    }
    void giveBack(const Hal::FrameSet& frameSet) { EXPECT_TRUE(wayBack->write(&frameSet)); }

    std::unique_ptr<Queue> wayBack;

  private:
    const android::sp<Hal::ICameraStream> stream_;
};

}  // namespace TestSupport
