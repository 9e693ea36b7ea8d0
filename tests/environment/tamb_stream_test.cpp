// KivraRpc against a service of this process.
#include "environment/tamb_stream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include "environment/fatal_calls.h"
#include "support/captured_log.h"
#include "support/fake_environment_hal.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using namespace std::chrono_literals;
using TestSupport::CapturedLog;
using TestSupport::FakeTambril;
using TestSupport::warningLine;
using Vek::Sensors::KivraRpcMessage;
using Vek::Sensors::TimeDomain;
using Vek::Sensors::HidlWrapper::TambStream;
namespace Hidl = Vek::Sensors::Hidl;

const auto kNotRegistered =
    warningLine("Tried to send kivraRpc msg before registering a callback.");

class TambStreamTest : public ::testing::Test {
  protected:
    bool send(size_t payloadSize = 0) {
        std::vector<uint8_t> payload(payloadSize, 0xa5);
        return stream.sendKivraRpcMsg(0x1122334455667788, 9, payload);
    }

    android::sp<FakeTambril> service = new FakeTambril;
    TambStream stream{android::sp<Hidl::ITambril>(service)};
};
using TambStreamDeathTest = TambStreamTest;

TEST_F(TambStreamTest, OneClientAfterAnother) {
    stream.registerKivraRpcClient("tracking", {});
    stream.unregisterKivraRpcClient("tracking");
    stream.registerKivraRpcClient("CMS", {});
    stream.unregisterKivraRpcClient("CMS");
    EXPECT_THAT(service->calls, ElementsAre("register TRACKING", "unregister TRACKING",
                                            "register CMS", "unregister CMS"));
}

TEST_F(TambStreamTest, UnregisteringAnUnknownClientUnregistersTheFirstOneAndForgetsTheOwn) {
    stream.registerKivraRpcClient("tracking", {});
    CapturedLog log;
    stream.unregisterKivraRpcClient("CMS ");
    EXPECT_THAT(service->calls, ElementsAre("register TRACKING", "unregister CMS"));
    EXPECT_FALSE(send());
    EXPECT_THAT(log.take(),
                ElementsAre(warningLine("KivraRpc clientId CMS  not declared in TambStream, "
                                        "ignoring unregister"),
                            kNotRegistered));
    service->result = Hidl::Result::FAILURE;
    stream.unregisterKivraRpcClient("tracking");
    EXPECT_THAT(log.take(), ElementsAre(warningLine("Failed to unregister KivraRpc client "
                                                    "tracking")));
}

TEST_F(TambStreamTest, SendsOnlyWhileRegisteredAndReturnsWhatTheServiceSays) {
    CapturedLog log;
    EXPECT_FALSE(send());
    EXPECT_THAT(log.take(), ElementsAre(kNotRegistered));
    stream.registerKivraRpcClient("CMS", {});
    EXPECT_TRUE(send(8192));
    service->result = Hidl::Result::IGNORED;
    EXPECT_FALSE(send());
    EXPECT_THAT(log.take(), IsEmpty());
    ASSERT_EQ(service->sent.size(), 2U);
    EXPECT_EQ(service->sent[0].callback, service->callback);
    EXPECT_EQ(service->sent[0].address, 0x1122334455667788U);
    EXPECT_EQ(service->sent[0].procedure, 9U);
    EXPECT_EQ(service->sent[0].payload, std::vector<uint8_t>(8192, 0xa5));
    EXPECT_THAT(service->sent[1].payload, IsEmpty());
}

TEST_F(TambStreamTest, MessagesReachTheClientFieldForFieldEvenAfterTheStreamIsGone) {
    std::vector<KivraRpcMessage> received;
    auto shortLived = std::make_unique<TambStream>(android::sp<Hidl::ITambril>(service));
    shortLived->registerKivraRpcClient(
        "CMS", [&](const KivraRpcMessage& message) { received.push_back(message); });
    shortLived = nullptr;
    EXPECT_THAT(service->calls, ElementsAre("register CMS"));  // and no call to unregister

    Hidl::KivraRpcMessage message{1, {2, 3, 4}, 5, static_cast<Hidl::KivraRpcMessageKind>(6), {}};
    EXPECT_TRUE(service->callback->onKivraRpcMessage(message).isOk());
    message.payload = {7, 8, 9};
    EXPECT_TRUE(service->callback->onKivraRpcMessage(message).isOk());
    ASSERT_EQ(received.size(), 2U);
    EXPECT_THAT(received[0].payload, IsEmpty());
    EXPECT_EQ(received[1].address, 1U);
    EXPECT_EQ(received[1].header.procedure, 2U);
    EXPECT_EQ(received[1].header.sequence, 3U);
    EXPECT_EQ(received[1].header.sentTimestamp, 4);
    EXPECT_EQ(received[1].arrivalTimestamp, 5);
    EXPECT_EQ(static_cast<int>(received[1].kind), 6);
    EXPECT_THAT(received[1].payload, ElementsAre(7, 8, 9));
}

TEST_F(TambStreamTest, CallbackTellsWhoItIsAndIgnoresMessagesWithoutAFunction) {
    stream.registerKivraRpcClient("tracking", {});
    EXPECT_TRUE(service->callback->onKivraRpcMessage({}).isOk());
    std::string name;
    EXPECT_TRUE(service->callback
                    ->getSensorClientInfo([&](Hidl::Result result, const auto& info) {
                        EXPECT_EQ(result, Hidl::Result::SUCCESS);
                        name = info.name;
                    })
                    .isOk());
    EXPECT_EQ(name, "clientId");
}

TEST_F(TambStreamTest, TranslationIsTheServicesAndTakesNoLock) {
    service->translated = INT64_MIN;
    // Here, this thread has the lock already.
    service->duringRegistration = [&] {
        EXPECT_EQ(stream.getTimeTranslation(-5, TimeDomain::EXTERNAL, static_cast<TimeDomain>(77)),
                  INT64_MIN);
    };
    stream.registerKivraRpcClient("CMS", {});
    ASSERT_EQ(service->translations.size(), 1U);
    EXPECT_EQ(service->translations[0].time, -5);
    EXPECT_EQ(service->translations[0].from, Hidl::TimeDomain::EXTERNAL);
    EXPECT_EQ(static_cast<uint32_t>(service->translations[0].to), 77U);
}

/// Sees which of its calls overlap.
class CrowdedTambril : public FakeTambril {
  public:
    TestSupport::Return<Hidl::Result> registerClient(Hidl::KivraRpcClientId,
                                                     const Callback&) override {
        return change();
    }
    TestSupport::Return<Hidl::Result> unregisterClient(Hidl::KivraRpcClientId) override {
        return change();
    }
    TestSupport::Return<Hidl::Result> sendMessage(
        const Callback&, uint64_t, uint32_t, const android::hardware::hidl_vec<uint8_t>&) override {
        std::unique_lock lock{mutex_};
        ++senders_;
        metAnotherSender = metAnotherSender || senders_ > 1;
        sendDuringChange = sendDuringChange || changing_;
        met_.notify_all();
        if (!std::exchange(waited_, true)) {
            met_.wait_for(lock, 20s, [this] { return metAnotherSender; });
        }
        --senders_;
        return Hidl::Result::SUCCESS;
    }

    bool sendDuringChange = false;
    bool metAnotherSender = false;

  private:
    Hidl::Result change() {
        setChanging(true);
        std::this_thread::yield();
        setChanging(false);
        return Hidl::Result::SUCCESS;
    }
    void setChanging(bool changing) {
        const std::lock_guard lock{mutex_};
        changing_ = changing;
        sendDuringChange = sendDuringChange || senders_ > 0;
    }

    std::mutex mutex_;
    std::condition_variable met_;
    int senders_ = 0;
    bool changing_ = false;
    bool waited_ = false;
};

TEST(TambStreamThreads, SendsRunSideBySideButNeverDuringARegistrationOrItsEnd) {
    const android::sp<CrowdedTambril> service = new CrowdedTambril;
    TambStream stream{android::sp<Hidl::ITambril>(service)};
    CapturedLog log;  // of sends that come while no client is registered
    stream.registerKivraRpcClient("CMS", {});
    std::atomic<bool> accepted = false;
    std::atomic<bool> done = false;
    const auto sendUntilDone = [&] {
        std::vector<uint8_t> payload(16);
        while (!done) {
            accepted = stream.sendKivraRpcMsg(1, 2, payload) || accepted;
            std::this_thread::yield();
        }
    };
    std::thread first{sendUntilDone};
    std::thread second{sendUntilDone};
    // The first is accepted only once both were inside.
    while (!accepted) {
        std::this_thread::yield();
    }
    for (int i = 0; i < 200; ++i) {
        stream.unregisterKivraRpcClient("CMS");
        stream.registerKivraRpcClient("tracking", {});
    }
    done = true;
    first.join();
    second.join();
    EXPECT_TRUE(service->metAnotherSender);
    EXPECT_FALSE(service->sendDuringChange);
}

std::string fatal(const std::string& condition, const std::string& message) {
    return "Assertion failed: " + condition + "\nF/Moriak-HidlWrapper: " + message + "\n";
}

TEST_F(TambStreamDeathTest, OnlyTheDeclaredClientsCanRegister) {
    for (const std::string id : {"Tracking", "tracking ", "cms", ""}) {
        EXPECT_DEATH(
            stream.registerKivraRpcClient(id, {}),
            HasSubstr(fatal("!id", "KivraRpc clientId " + id + " not declared in TambStream")));
    }
    service->result = Hidl::Result::BAD_STATE;
    EXPECT_DEATH(
        stream.registerKivraRpcClient("CMS", {}),
        HasSubstr(fatal("res != Result::SUCCESS", "Failed to register KivraRpc client CMS")));
}

TEST_F(TambStreamDeathTest, SecondRegistrationIsFatalWhateverItsId) {
    stream.registerKivraRpcClient("CMS", {});
    for (const std::string id : {"CMS", "tracking", "unknown"}) {
        EXPECT_DEATH(stream.registerKivraRpcClient(id, {}),
                     HasSubstr(fatal("callback.value()",
                                     "Changing KivraRpc callback for " + id + " is forbidden")));
    }
}

TEST_F(TambStreamDeathTest, TooLongPayloadIsFatalBeforeTheLock) {
    const auto text = HasSubstr(fatal("payload.size() > kKivraRpcMaxPayloadSize",
                                      "Attempting to send payload with size 8193 but KivraRpc max "
                                      "payload size is 8192"));
    EXPECT_DEATH(send(8193), text);
    // Here, the sending thread has the lock already.
    service->duringRegistration = [&] { send(8193); };
    EXPECT_DEATH(stream.registerKivraRpcClient("CMS", {}), text);
}

TEST_F(TambStreamDeathTest, FailedTransportIsFatalWithTheSignature) {
    stream.registerKivraRpcClient("CMS", {});
    TambStream unregistered{android::sp<Hidl::ITambril>(service)};
    service->transportFails = true;
    TestSupport::expectFatalTransport(
        "TambStream",
        {{[&] { unregistered.registerKivraRpcClient("CMS", {}); },
          "void registerKivraRpcClient(std::string, Vek::Sensors::KivraRpcMsgCallback)"},
         {[&] { stream.unregisterKivraRpcClient("CMS"); },
          "void unregisterKivraRpcClient(std::string)"},
         {[&] { send(); },
          "bool sendKivraRpcMsg(const Vek::Sensors::ControllerAddr &, uint32_t, "
          "std::vector<uint8_t> &)"},
         {[&] { stream.getTimeTranslation(0, TimeDomain::MONOTONIC, TimeDomain::BOOTTIME); },
          "int64_t getTimeTranslation(int64_t, Vek::Sensors::TimeDomain, "
          "Vek::Sensors::TimeDomain)"}});
}

}  // namespace
