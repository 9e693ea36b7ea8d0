// KivraRpc against a service of this process.
#include "environment/tamb_stream.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "support/captured_log.h"
#include "support/fake_service.h"
#include "support/fatal_calls.h"

namespace {

using namespace ::testing;
using namespace std::chrono_literals;
using namespace TestSupport;
using Vek::Sensors::ControllerAddr;
using Vek::Sensors::KivraRpcMessage;
using Vek::Sensors::TimeDomain;
using Vek::Sensors::HidlWrapper::TambStream;

const auto kNotRegistered =
    warningLine("Tried to send kivraRpc msg before registering a callback.");

class TambStreamTest : public Test {
  protected:
    bool send(size_t payloadSize = 0) {
        std::vector<uint8_t> payload(payloadSize, 0xa5);
        return stream.sendKivraRpcMsg(ControllerAddr{0x1122334455667788}, 9, payload);
    }

    void duringChange(const std::function<void()>& action) {
        service->on<&Hidl::ITambril::registerClient>([=](auto, const auto& client) {
            callback = client;
            action();
            return service->result;
        });
        service->on<&Hidl::ITambril::unregisterClient>([=](auto) {
            action();
            return service->result;
        });
    }
    void SetUp() override {
        duringChange([] {});
    }

    sp<Fake<Hidl::ITambril>> service = new Fake<Hidl::ITambril>;
    sp<Hidl::ITambrilCallback> callback;
    TambStream stream{sp<Hidl::ITambril>(service)};
};
using TambStreamDeathTest = TambStreamTest;

TEST_F(TambStreamTest, UnregisteringForgetsTheClientForEveryIdAndResult) {
    CapturedLog log;
    stream.registerKivraRpcClient("tracking", {});
    stream.unregisterKivraRpcClient("tracking");
    stream.registerKivraRpcClient("CMS", {});
    stream.unregisterKivraRpcClient("nobody");
    EXPECT_FALSE(send());
    stream.registerKivraRpcClient("tracking", {});
    service->result = Hidl::Result::FAILURE;
    stream.unregisterKivraRpcClient("tracking");
    EXPECT_FALSE(send());
    EXPECT_THAT(service->calls,
                ElementsAre("registerClient TRACKING", "unregisterClient TRACKING",
                            "registerClient CMS", "unregisterClient CMS", "registerClient TRACKING",
                            "unregisterClient TRACKING"));
    EXPECT_THAT(
        log.take(),
        ElementsAre(warningLine("KivraRpc clientId nobody not declared in TambStream, "
                                "ignoring unregister"),
                    kNotRegistered, warningLine("Failed to unregister KivraRpc client tracking"),
                    kNotRegistered));
}

TEST_F(TambStreamTest, SendsOnlyWhileRegisteredAndReturnsWhatTheServiceSays) {
    std::vector<size_t> sizes;
    service->on<&Hidl::ITambril::sendMessage>([&](const auto& sender, const auto& address,
                                                  uint32_t procedure,
                                                  const std::vector<uint8_t>& payload) {
        EXPECT_EQ(sender, callback);
        EXPECT_EQ(address.address, 0x1122334455667788U);
        EXPECT_EQ(procedure, 9U);
        EXPECT_EQ(payload, std::vector<uint8_t>(payload.size(), 0xa5));
        sizes.push_back(payload.size());
        return service->result;
    });
    CapturedLog log;
    EXPECT_FALSE(send());
    EXPECT_THAT(log.take(), ElementsAre(kNotRegistered));
    stream.registerKivraRpcClient("CMS", {});
    EXPECT_TRUE(send(8192));
    service->result = Hidl::Result::IGNORED;
    EXPECT_FALSE(send());
    EXPECT_THAT(log.take(), IsEmpty());
    EXPECT_THAT(sizes, ElementsAre(8192, 0));
}

TEST_F(TambStreamTest, CallbackOutlivesTheStreamAndPassesMessagesFieldForField) {
    std::vector<KivraRpcMessage> received;
    auto shortLived = std::make_unique<TambStream>(sp<Hidl::ITambril>(service));
    shortLived->registerKivraRpcClient(
        "CMS", [&](const KivraRpcMessage& message) { received.push_back(message); });
    shortLived = nullptr;
    EXPECT_THAT(service->calls, ElementsAre("registerClient CMS"));  // and no call to unregister

    Hidl::KivraRpcMessage message{{1}, {2, 3, 4}, 5, static_cast<Hidl::KivraRpcMessageKind>(6), {}};
    EXPECT_TRUE(callback->onKivraRpcMessage(message).isOk());
    message.payload = {7, 8, 9};
    EXPECT_TRUE(callback->onKivraRpcMessage(message).isOk());

    stream.registerKivraRpcClient("tracking", {});
    EXPECT_TRUE(callback->onKivraRpcMessage(message).isOk());  // to nobody
    std::string name;
    const auto store = [&](Hidl::Result, const auto& info) { name = info.name; };
    EXPECT_TRUE(callback->getSensorClientInfo(store).isOk());
    EXPECT_EQ(name, "clientId");

    const auto header = FieldsAre(2, 3, 4);
    const auto kind = static_cast<Vek::Sensors::KivraRpcMessageKind>(6);
    EXPECT_THAT(received,
                ElementsAre(FieldsAre(ControllerAddr{1}, header, 5, kind, IsEmpty()),
                            FieldsAre(ControllerAddr{1}, header, 5, kind, ElementsAre(7, 8, 9))));
}

TEST_F(TambStreamTest, TimeTranslationReturnsTheServicesAnswerWithoutTheLock) {
    // Here, this thread has the lock already.
    service->returns<&Hidl::ITambril::translateTime>(INT64_MIN);
    duringChange([&] {
        EXPECT_EQ(stream.getTimeTranslation(-5, TimeDomain::EXTERNAL, static_cast<TimeDomain>(77)),
                  INT64_MIN);
    });
    stream.registerKivraRpcClient("CMS", {});
    EXPECT_THAT(service->calls,
                ElementsAre("registerClient CMS", "translateTime -5 EXTERNAL 0x4d"));
}

TEST_F(TambStreamTest, SendsRunSideBySideButNeverDuringARegistrationOrItsEnd) {
    const auto sending = [this] { return std::async(std::launch::async, [this] { send(); }); };
    std::future<void> held;
    duringChange([&] {
        held = sending();
        EXPECT_EQ(held.wait_for(50ms), std::future_status::timeout);
    });
    CapturedLog log;  // of the send that comes when no client is registered any more
    stream.registerKivraRpcClient("CMS", {});
    held.wait();
    std::atomic<bool> isFirst{true};
    service->on<&Hidl::ITambril::sendMessage>([&](auto&&...) {
        if (isFirst.exchange(false)) {
            sending().wait();
        }
        return Hidl::Result::SUCCESS;
    });
    send();
    stream.unregisterKivraRpcClient("CMS");
    held.wait();
}

TEST_F(TambStreamDeathTest, UndeclaredRefusedAndRepeatedRegistrationsAreFatal) {
    const auto registering = [this](const std::string& id) {
        return [=] { stream.registerKivraRpcClient(id, {}); };
    };
    for (const std::string id : {"Tracking", "tracking ", ""}) {
        expectFatal({{assertion("!id", "KivraRpc clientId " + id + " not declared in TambStream"),
                      registering(id)}});
    }
    service->result = Hidl::Result::IGNORED;
    expectFatal({{assertion("res != Result::SUCCESS", "Failed to register KivraRpc client CMS"),
                  registering("CMS")}});
    service->result = Hidl::Result::SUCCESS;
    registering("CMS")();
    for (const std::string id : {"CMS", "tracking", "nobody"}) {
        expectFatal({{assertion("callback.value()",
                                "Changing KivraRpc callback for " + id + " is forbidden"),
                      registering(id)}});
    }
}

TEST_F(TambStreamDeathTest, TooLongPayloadIsFatalBeforeTheLock) {
    // During a registration, the sending thread has the lock already.
    duringChange([&] { send(8193); });
    expectFatal({{assertion("payload.size() > kKivraRpcMaxPayloadSize",
                            "Attempting to send payload with size 8193 but KivraRpc max payload "
                            "size is 8192"),
                  [&] { stream.registerKivraRpcClient("CMS", {}); }}});
}

TEST_F(TambStreamDeathTest, FailedTransportIsFatalWithTheSignature) {
    stream.registerKivraRpcClient("CMS", {});
    TambStream unregistered{sp<Hidl::ITambril>(service)};
    expectFatal(
        *service, "TambStream::",
        {{"void ", "registerKivraRpcClient(std::string, Vek::Sensors::KivraRpcMsgCallback)",
          [&] { unregistered.registerKivraRpcClient("CMS", {}); }},
         {"void ", "unregisterKivraRpcClient(std::string)",
          [&] { stream.unregisterKivraRpcClient("CMS"); }},
         {"bool ",
          "sendKivraRpcMsg(const Vek::Sensors::ControllerAddr &, uint32_t, std::vector<uint8_t> &)",
          [&] { send(); }},
         {"int64_t ",
          "getTimeTranslation(int64_t, Vek::Sensors::TimeDomain, Vek::Sensors::TimeDomain)",
          [&] { stream.getTimeTranslation(0, TimeDomain::MONOTONIC, TimeDomain::BOOTTIME); }}});
}

}  // namespace
