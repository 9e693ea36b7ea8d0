#include "environment/tambril_service.h"

#include <fmt/format.h>
#include <log/log.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <optional>
#include <system_error>

#include "time_units.h"
#include "world/clocks.h"

namespace Simulator {
namespace {

constexpr int64_t kRadioLatency = 2'000'000;  // in ns

android::hardware::hidl_vec<uint8_t> bytesOf(const std::string& text) {
    return std::vector<uint8_t>(text.begin(), text.end());
}

}  // namespace

TambrilService::TambrilService(EnvironmentSettings settings,
                               std::shared_ptr<ControllerFleet> controllers,
                               std::shared_ptr<WorldClock> clock)
    : settings_(std::move(settings)),
      controllers_(std::move(controllers)),
      clock_(std::move(clock)) {}

TambrilService::~TambrilService() {
    clients_.clear();
}

Return<Hidl::Result> TambrilService::registerClient(Hidl::KivraRpcClientId id,
                                                    const Callback& callback) {
    if (callback == nullptr ||
        (id != Hidl::KivraRpcClientId::CMS && id != Hidl::KivraRpcClientId::TRACKING)) {
        ALOGW("KivraRpc: refused client %s of process %d: %s", toString(id).c_str(),
              callingProcess(), callback == nullptr ? "it has no callback" : "it has no such id");
        return Hidl::Result::FAILURE;
    }
    ClientPointer client;
    try {
        client = std::make_shared<RpcClient>(
            id, callback, std::max(settings_.notificationRate, 1U), clock_,
            [this](RpcClient& notified, uint32_t number) { notify(notified, number); });
    } catch (const std::system_error& noThread) {
        ALOGW("KivraRpc: refused client %s of process %d: %s", toString(id).c_str(),
              callingProcess(), noThread.what());
        return Hidl::Result::FAILURE;
    }
    client->name = fmt::format("{}, {}", toString(id), client->name);
    const Refusal refusal = enrol(
        client, [&] { return findLocked(id) == nullptr ? Refusal::NONE : Refusal::ID_IS_TAKEN; });
    if (refusal != Refusal::NONE) {
        ALOGW("KivraRpc: refused %s: %s", client->name.c_str(), textOf(refusal).c_str());
        return refusal == Refusal::ID_IS_TAKEN ? Hidl::Result::BAD_STATE : Hidl::Result::FAILURE;
    }
    {
        const std::lock_guard lock{mutex_};
        const bool isNotified = settings_.notificationRate > 0 && !isStopped_;
        client->notifier.setBatchLimit(isNotified ? 1 : 0);
    }
    ALOGI("KivraRpc: %s is registered", client->name.c_str());
    return Hidl::Result::SUCCESS;
}

Return<Hidl::Result> TambrilService::unregisterClient(Hidl::KivraRpcClientId id) {
    ClientPointer client;
    {
        const std::lock_guard lock{mutex_};
        client = findLocked(id);
        if (client == nullptr) {
            return Hidl::Result::BAD_STATE;
        }
        if (client->process != callingProcess()) {
            ALOGW("KivraRpc: refused process %d, which is not %s, to unregister it",
                  callingProcess(), client->name.c_str());
            return Hidl::Result::FAILURE;
        }
        removeLocked(client);
    }
    release(client, "unregistered");
    return Hidl::Result::SUCCESS;
}

Return<Hidl::Result> TambrilService::sendMessage(
    const Callback& callback, const Hidl::ControllerAddr& address, uint32_t procedure,
    const android::hardware::hidl_vec<uint8_t>& payload) {
    ClientPointer client;
    {
        const std::lock_guard lock{mutex_};
        client = ClientRegister::findLocked(callback);
    }
    if (client == nullptr) {
        return Hidl::Result::BAD_STATE;
    }
    if (payload.size() > kMaxPayloadSize) {
        ALOGW("KivraRpc: refused %zu bytes from %s", payload.size(), client->name.c_str());
        return Hidl::Result::FAILURE;
    }
    if (!deliver(*client, answerTo(address, procedure, payload))) {
        ALOGW("KivraRpc: refused a message from %s: no controller %#llx is paired",
              client->name.c_str(), static_cast<unsigned long long>(address.address));
        return Hidl::Result::FAILURE;
    }
    ++requests_;
    return Hidl::Result::SUCCESS;
}

Hidl::KivraRpcMessage TambrilService::answerTo(
    const Hidl::ControllerAddr& address, uint32_t procedure,
    const android::hardware::hidl_vec<uint8_t>& payload) const {
    Hidl::KivraRpcMessage answer{};
    answer.address = address;
    answer.header.procedure = procedure;
    const auto& refused = settings_.refusedProcedures;
    if (std::find(refused.begin(), refused.end(), procedure) != refused.end()) {
        answer.kind = Hidl::KivraRpcMessageKind::ERROR;
        answer.payload = bytesOf(fmt::format("procedure {} refused", procedure));
    } else {
        answer.kind = Hidl::KivraRpcMessageKind::RESPONSE;
        answer.payload = payload;
    }
    return answer;
}

Return<int64_t> TambrilService::translateTime(int64_t time, Hidl::TimeDomain from,
                                              Hidl::TimeDomain to) {
    const std::optional<int64_t> translated = translate(time, from, to);
    if (!translated) {
        // Logged, because the call has no result.
        ALOGW("time: process %d asked for a translation from %s to %s; answered with 0",
              callingProcess(), toString(from).c_str(), toString(to).c_str());
    }
    return translated.value_or(0);
}

void TambrilService::stop() {
    const std::lock_guard lock{mutex_};
    isStopped_ = true;
    for (const ClientPointer& client : clients_) {
        // Does not wait for the thread: it may be blocked by a client that does not read.
        client->notifier.setBatchLimit(0);
    }
}

std::string TambrilService::summary() const {
    return fmt::format("KivraRpc: {} requests to controllers, {} messages from them",
                       requests_.load(), messages_.load());
}

TambrilService::ClientPointer TambrilService::findLocked(Hidl::KivraRpcClientId id) const {
    const auto found = std::find_if(clients_.begin(), clients_.end(),
                                    [id](const ClientPointer& client) { return client->id == id; });
    return found == clients_.end() ? nullptr : *found;
}

void TambrilService::onRelease(RpcClient& client, const char* reason) {
    client.notifier.stop();
    ALOGI("KivraRpc: %s %s", client.name.c_str(), reason);
}

bool TambrilService::deliver(RpcClient& client, Hidl::KivraRpcMessage message) {
    const std::lock_guard lock{client.deliveryMutex};
    const std::optional<uint32_t> sequence = controllers_->nextMessage(message.address);
    if (!sequence) {
        return false;
    }
    const int64_t now = toNanoseconds(clock_->now());
    message.arrivalTimestamp = now;
    message.header.sentTimestamp = kControllerClock.at(now - kRadioLatency);
    message.header.sequence = *sequence;
    // A message fails only if its receiver is dead; the death notification will follow.
    if (client.callback->onKivraRpcMessage(message).isOk()) {
        ++messages_;
    }
    return true;
}

void TambrilService::notify(RpcClient& client, uint32_t number) {
    for (const Hidl::PairedControllerInfo& controller : controllers_->paired()) {
        Hidl::KivraRpcMessage message{};
        message.address = controller.address;
        message.header.procedure = kStatusProcedure;
        message.kind = Hidl::KivraRpcMessageKind::NOTIFICATION;
        message.payload = bytesOf(fmt::format("status {}", number));
        deliver(client, std::move(message));
    }
}

}  // namespace Simulator
