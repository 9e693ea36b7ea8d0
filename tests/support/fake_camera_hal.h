// Camera services in the test's own process, whose answers the test chooses.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "support/fake_service.h"
#include "support/handle.h"

namespace TestSupport {

/// Exchanges queues for frame sets; the rest is up to the test.
class FakeCameraStream : public Fake<Hidl::ICameraStream> {
  public:
    using Queue = ServiceEnd<Hidl::FrameSet>::Queue;

    FakeCameraStream() {
        on<&Hidl::ICameraStream::prepareStream>([this](auto&, auto&, auto&, const auto& callback) {
            if (callsBack) {
                callback(result, recycleDescriptor, {recycleFlagHandle, 1U << 5, kRecycledBit});
            }
            return Void();
        });
    }
    ~FakeCameraStream() override { Vek::OS::deleteEventFlag(&recycleFlag); }

    bool takeRecycledSignal() {
        uint32_t state = 0;
        return recycleFlag->wait(kRecycledBit, &state, 1) == android::NO_ERROR;
    }

    static constexpr uint32_t kRecycledBit = 1U << 6;
    ServiceEnd<Hidl::FrameSet>& frameSets = end<Hidl::FrameSet>();
    Queue recycleQueue{3};
    Queue::Descriptor recycleDescriptor{*recycleQueue.getDesc()};
    hidl_handle recycleFlagHandle = Vek::OS::createEventFlagHandle("recycle");
    android::hardware::EventFlag* recycleFlag =
        Vek::OS::createEventFlagFromHandle(recycleFlagHandle);
};

/// A descriptor of shared memory with these bytes; not even a zero byte is added.
inline int sharedMemory(const std::string& bytes, const char* name = "test") {
    const int fd = ashmem_create_region(name, bytes.size());
    EXPECT_EQ(pwrite(fd, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    return fd;
}

template <typename Record>
Record filledWith(int byte) {
    Record record;
    std::memset(static_cast<void*>(&record), byte, sizeof(record));
    return record;
}

template <typename A, typename B>
bool sameBytes(const A& a, const B& b) {
    return sizeof(a) == sizeof(b) && std::memcmp(&a, &b, sizeof(a)) == 0;
}

}  // namespace TestSupport
