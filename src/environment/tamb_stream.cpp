// Registration, sending and receiving of KivraRpc messages.
#include "environment/tamb_stream.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/hal_call.h"
#include "foundation/sensor_client.h"

namespace Vek::Sensors::HidlWrapper {
namespace {

struct DeclaredClient {
    std::string_view clientId;
    Hidl::KivraRpcClientId id;
};

constexpr std::array kDeclaredClients{
    DeclaredClient{"CMS", Hidl::KivraRpcClientId::CMS},
    DeclaredClient{"tracking", Hidl::KivraRpcClientId::TRACKING},
};

std::optional<Hidl::KivraRpcClientId> declaredId(std::string_view clientId) {
    for (const DeclaredClient& client : kDeclaredClients) {
        if (client.clientId == clientId) {
            return client.id;
        }
    }
    return std::nullopt;
}

KivraRpcMessage fromHidl(const Hidl::KivraRpcMessage& message) {
    const KivraRpcHeader header{message.header.procedure, message.header.sequence,
                                message.header.sentTimestamp};
    return {ControllerAddr{message.address.address}, header, message.arrivalTimestamp,
            static_cast<KivraRpcMessageKind>(message.kind), message.payload};
}

/// Immutable; the service calls it on HIDL threads and may hold it longer than the stream does.
class TambrilCallback : public Hidl::ITambrilCallback {
  public:
    explicit TambrilCallback(KivraRpcMsgCallback callback) : callback_(std::move(callback)) {}

    android::hardware::Return<void> getSensorClientInfo(getSensorClientInfo_cb callback) override {
        return answerSensorClientInfo(name_, callback);
    }

    android::hardware::Return<void> onKivraRpcMessage(
        const Hidl::KivraRpcMessage& message) override {
        if (callback_) {
            callback_(fromHidl(message));
        }
        return android::hardware::Void();
    }

  private:
    const KivraRpcMsgCallback callback_;
    const std::string name_ = "clientId";
};

/// Makes the condition of a fatal assertion read "callback.value()": tests and tools know that
/// text.
struct RegisteredCallback {
    android::sp<Hidl::ITambrilCallback>& value() const { return callback; }

    android::sp<Hidl::ITambrilCallback>& callback;
};
using HidlResult = android::hardware::Return<Hidl::Result>;
using Hidl::Result;

}  // namespace

TambStream::TambStream(gsl::not_null<android::sp<Hidl::ITambril>> hal)
    : hal_(std::move(hal)), deathRecipient_(std::make_unique<HalDeathRecipient>(hal_.get())) {}

void TambStream::registerKivraRpcClient(std::string clientId, KivraRpcMsgCallback function) {
    const OS::LockGuard lock{mutex_};
    const RegisteredCallback callback{callback_};
    MORIAK_FATAL_IF(callback.value(), "Changing KivraRpc callback for %s is forbidden",
                    clientId.c_str());
    const std::optional<Hidl::KivraRpcClientId> id = declaredId(clientId);
    MORIAK_FATAL_IF(!id, "KivraRpc clientId %s not declared in TambStream", clientId.c_str());
    callback.value() = new TambrilCallback(std::move(function));
    const android::sp<Hidl::ITambril> hal = hal_.get();
    const HidlResult res = hal->registerClient(*id, callback.value());
    checkTransport(res, __PRETTY_FUNCTION__);
    MORIAK_FATAL_IF(res != Result::SUCCESS, "Failed to register KivraRpc client %s",
                    clientId.c_str());
}

void TambStream::unregisterKivraRpcClient(std::string clientId) {
    const OS::LockGuard lock{mutex_};
    callback_.clear();
    const std::optional<Hidl::KivraRpcClientId> id = declaredId(clientId);
    if (!id) {
        // Intended: in spite of this text, the call is made, for the first declared client.
        MORIAK_LOG_WARN("KivraRpc clientId %s not declared in TambStream, ignoring unregister",
                        clientId.c_str());
    }
    const android::sp<Hidl::ITambril> hal = hal_.get();
    const HidlResult res = hal->unregisterClient(id.value_or(kDeclaredClients.front().id));
    checkTransport(res, __PRETTY_FUNCTION__);
    if (res != Result::SUCCESS) {
        MORIAK_LOG_WARN("Failed to unregister KivraRpc client %s", clientId.c_str());
    }
}

bool TambStream::sendKivraRpcMsg(const ControllerAddr& address, uint32_t procedure,
                                 std::vector<uint8_t>& payload) {
    MORIAK_FATAL_IF(payload.size() > kKivraRpcMaxPayloadSize,
                    "Attempting to send payload with size %zu but KivraRpc max payload size is %zu",
                    payload.size(), kKivraRpcMaxPayloadSize);
    const OS::SharedLockGuard lock{mutex_};
    if (!callback_) {
        MORIAK_LOG_WARN("Tried to send kivraRpc msg before registering a callback.");
        return false;
    }
    const android::sp<Hidl::ITambril> hal = hal_.get();
    const HidlResult res =
        hal->sendMessage(callback_, {static_cast<uint64_t>(address)}, procedure, payload);
    checkTransport(res, __PRETTY_FUNCTION__);
    return res == Result::SUCCESS;
}

int64_t TambStream::getTimeTranslation(int64_t time, TimeDomain from, TimeDomain to) {
    const android::sp<Hidl::ITambril> hal = hal_.get();
    const android::hardware::Return<int64_t> translated = hal->translateTime(
        time, static_cast<Hidl::TimeDomain>(from), static_cast<Hidl::TimeDomain>(to));
    checkTransport(translated, __PRETTY_FUNCTION__);
    return unwrap(translated);
}

}  // namespace Vek::Sensors::HidlWrapper
