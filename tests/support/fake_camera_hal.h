// Camera services in the test's own process, whose answers the test chooses.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vendor/zelvan/hardware/sensors/1.0/ICameraProvider.h>

#include <cstring>
#include <functional>

#include "support/handle.h"
#include "support/recording_service.h"

namespace TestSupport {

using android::hardware::hidl_handle;
using android::hardware::hidl_string;
using android::hardware::Void;

/// Exchanges queues for frame sets; the rest is up to the test.
class FakeCameraStream : public RecordingService<Hidl::ICameraStream> {
  public:
    using Queue = ServiceEnd<Hidl::FrameSet>::Queue;
    using Client = sp<Hidl::ISensorClient>;

    ~FakeCameraStream() override { Vek::OS::deleteEventFlag(&recycleFlag); }

    Return<void> prepareStream(const Client& client, const Queue::Descriptor& queue,
                               const Hidl::FmqConfig& config, prepareStream_cb callback) override {
        if (transportFails) {
            return deadObject();
        }
        end.accept(queue, client, config);
        return deliver(callback)(result, recycleDescriptor,
                                 Hidl::FmqConfig{recycleFlagHandle, 1U << 5, kRecycledBit});
    }
    MOCK_METHOD(Return<void>, getMetadata, (getMetadata_cb));
    MOCK_METHOD(Return<void>, getConfiguration, (const Client&, getConfiguration_cb));
    MOCK_METHOD(Return<Hidl::Result>, controlStream, (const Client&, Hidl::StreamCommand));
    MOCK_METHOD(Return<Hidl::Result>, startOverridingExposureSettings, (const Client&));
    MOCK_METHOD(Return<Hidl::Result>, stopOverridingExposureSettings, (const Client&));
    MOCK_METHOD(Return<void>, registerFrameConfigCallback,
                (const Client&, const sp<Hidl::IFrameConfigCallback>&,
                 registerFrameConfigCallback_cb));
    MOCK_METHOD(Return<void>, setExposureGain, (const Client&, const Hidl::ExposureGainSettings&));
    MOCK_METHOD(Return<void>, setPhaseOffset, (uint64_t));
    MOCK_METHOD(Return<Hidl::Result>, setCameraSyncMode, (Hidl::CameraSyncMode));
    MOCK_METHOD(Return<Hidl::Result>, writeSessionOcalData,
                (const hidl_string&, const hidl_vec<uint8_t>&));
    MOCK_METHOD(Return<Hidl::Result>, setResolution, (const hidl_vec<Hidl::Resolution>&));

    bool takeRecycledSignal() {
        uint32_t state = 0;
        return recycleFlag->wait(kRecycledBit, &state, 1) == android::NO_ERROR;
    }

    static constexpr uint32_t kRecycledBit = 1U << 6;
    ServiceEnd<Hidl::FrameSet> end;
    Queue recycleQueue{3};
    Queue::Descriptor recycleDescriptor = *recycleQueue.getDesc();
    hidl_handle recycleFlagHandle = Vek::OS::createEventFlagHandle("recycle");
    android::hardware::EventFlag* recycleFlag =
        Vek::OS::createEventFlagFromHandle(recycleFlagHandle);
};

class FakeCameraController : public Hidl::ICameraStreamController {
  public:
    MOCK_METHOD(Return<Hidl::Result>, startOverridingExposureSettings, ());
    MOCK_METHOD(Return<Hidl::Result>, stopOverridingExposureSettings, ());
    MOCK_METHOD(Return<Hidl::Result>, setExposureGain,
                (uint8_t, uint32_t, const Hidl::ExposureGainSettings&));
};

class FakeCameraProvider : public RecordingService<Hidl::ICameraProvider> {
  public:
    using Stream = sp<Hidl::ICameraStream>;
    using Controller = sp<Hidl::ICameraStreamController>;
    using Targets = hidl_vec<sp<Hidl::ICameraStreamControlTarget>>;

    MOCK_METHOD(Return<void>, getProperties, (getProperties_cb));
    MOCK_METHOD(Return<void>, getCalibrationData, (uint32_t, getCalibrationData_cb));
    MOCK_METHOD(Return<Stream>, getStream, (Hidl::FrameType));
    MOCK_METHOD(Return<Stream>, getStreamByPurpose, (const hidl_string&, const hidl_string&));
    MOCK_METHOD(Return<Controller>, getStreamController, (const hidl_string&, const hidl_string&));
    MOCK_METHOD(Return<Hidl::UtilityFrequency>, getUtilityFrequency, ());
    MOCK_METHOD(Return<Hidl::Result>, setUtilityFrequency, (Hidl::UtilityFrequency));
    MOCK_METHOD(Return<void>, getChannels, (getChannels_cb));
    MOCK_METHOD(Return<Hidl::Result>, setChannels, (const Hidl::ChannelSettings&));
    MOCK_METHOD(Return<Hidl::Result>, applyMuxMode, (const hidl_string&, uint8_t));
    MOCK_METHOD(Return<Hidl::Result>, setFrameRate, (const Hidl::FrameRateSettings&));
    MOCK_METHOD(Return<bool>, getRawImageMode, ());
    MOCK_METHOD(Return<Hidl::Result>, controlEvery, (const Targets&, Hidl::StreamCommand));
};

/// A client's call that ends the process if the service refuses it or does not get it.
struct FatalCall {
    /// "object.method(arguments)", of which the method is looked for in the signature text.
    std::string text;
    std::function<void()> call;
    /// For a FAILURE; none if the call accepts it.
    std::string message;
    std::string condition = "hidlReturn != Hidl::Result::SUCCESS";
};
#define FATAL_CALL(call) #call, [&] { call; }

class CameraTest : public ::testing::Test {
  protected:
    CameraTest() { allAnswer<Hidl::Result::SUCCESS>(); }

    /// Of the calls that the test says nothing else about.
    template <Hidl::Result result>
    static void allAnswer() {
        ::testing::DefaultValue<Return<Hidl::Result>>::SetFactory(
            [] { return Return<Hidl::Result>(result); });
    }
    template <typename... Values>
    static void noneIsDelivered() {
        (::testing::DefaultValue<Return<Values>>::SetFactory([] {
             return Return<Values>(android::hardware::Status::fromStatusT(android::DEAD_OBJECT));
         }),
         ...);
    }
    static void expectFatal(
        const std::vector<FatalCall>& calls,
        const std::function<void()>& refuseAll = allAnswer<Hidl::Result::FAILURE>) {
        using P = FakeCameraProvider;
        const auto deliverNone = noneIsDelivered<void, bool, Hidl::Result, Hidl::UtilityFrequency,
                                                 P::Stream, P::Controller>;
        for (const auto& [text, call, message, condition] : calls) {
            SCOPED_TRACE(text);
            const size_t method = text.find('.') + 1;
            EXPECT_DEATH(
                (deliverNone(), call()),
                ::testing::ContainsRegex("HIDL error in .*HidlWrapper::Camera.*::" +
                                         text.substr(method, text.find('(') - method) + "\\("));
            if (!message.empty()) {
                EXPECT_DEATH(
                    (refuseAll(), call()),
                    ::testing::HasSubstr("F/Moriak-HidlWrapper: Assertion failed: " + condition +
                                         "\nF/Moriak-HidlWrapper: " + message + "\n"));
            }
        }
    }
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
