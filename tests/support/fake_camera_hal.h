// Camera services in the test's own process, whose answers the test chooses.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>

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

/// A client's call that ends the process if the service refuses it or does not get it.
struct FatalCall {
    /// "object.method(arguments)", of which the method is looked for in the signature text.
    std::string text;
    std::function<void()> call;
    /// For the result below; none if the call accepts it.
    std::string message;
    std::string condition = "hidlReturn != Hidl::Result::SUCCESS";
    /// Not the only one that is refused, but the one that a check for FAILURE would let pass.
    Hidl::Result refusal = Hidl::Result::BAD_STATE;
};
#define FATAL_CALL(call) #call, [&] { call; }

/// @param services that the calls are for
inline void expectFatal(const std::vector<FatalCall>& calls,
                        const std::vector<FakeAnswers*>& services) {
    const auto with = [&services](Hidl::Result result, bool transportFails) {
        for (FakeAnswers* service : services) {
            service->result = result;
            service->transportFails = transportFails;
        }
    };
    for (const auto& [text, call, message, condition, refusal] : calls) {
        SCOPED_TRACE(text);
        const size_t method = text.find('.') + 1;
        EXPECT_DEATH(
            (with(Hidl::Result::SUCCESS, true), call()),
            ::testing::ContainsRegex("HIDL error in .*HidlWrapper::Camera.*::" +
                                     text.substr(method, text.find('(') - method) + "\\("));
        if (!message.empty()) {
            EXPECT_DEATH(
                (with(refusal, false), call()),
                ::testing::HasSubstr("F/Moriak-HidlWrapper: Assertion failed: " + condition +
                                     "\nF/Moriak-HidlWrapper: " + message + "\n"));
        }
    }
}

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
