// See tambril_service.h.
#include "environment/tambril_service.h"

#include <fmt/format.h>
#include <hidl/HidlTransportSupport.h>
#include <hwbinder/IPCThreadState.h>
#include <log/log.h>

#include <algorithm>
#include <chrono>

#include "environment/clocks.h"

namespace Simulator {
namespace {

constexpr int64_t kRadioLatency = 2'000'000;  // in ns

int callingProcess() {
    return android::hardware::IPCThreadState::self()->getCallingPid();
}

android::hardware::hidl_vec<uint8_t> bytesOf(const std::string& text) {
    return std::vector<uint8_t>(text.begin(), text.end());
}

}  // namespace

TambrilService::TambrilService(EnvironmentSettings settings, std::shared_ptr<const Faults> faults)
    : settings_(std::move(settings)),
      faults_(std::move(faults)),
      notifier_({std::max(settings_.notificationRate, 1U), 1},
                [this](const Batch& batch) { notify(batch.firstSequence); }) {
    notifier_.setBatchLimit(settings_.notificationRate > 0 ? 1 : 0);
}

TambrilService::Return<Hal::Result> TambrilService::registerClient(Hal::KivraRpcClientId id,
                                                                   const Callback& callback) {
    const Hal::Result fault = faultOf("registerClient");
    if (fault != Hal::Result::SUCCESS) {
        return fault;
    }
    if (callback == nullptr ||
        (id != Hal::KivraRpcClientId::CMS && id != Hal::KivraRpcClientId::TRACKING)) {
        ALOGW("KivraRpc: refused client %s of process %d: %s", toString(id).c_str(),
              callingProcess(), callback == nullptr ? "it has no callback" : "it has no such id");
        return Hal::Result::FAILURE;
    }
    const auto client = std::make_shared<Client>(id, callback);
    client->process = callingProcess();
    client->name = fmt::format("{}, {}", toString(id), describeCaller(callback));
    client->deathRecipient = new ClientDeathRecipient(
        [service = android::wp<TambrilService>(this), dead = std::weak_ptr<Client>(client)] {
            const android::sp<TambrilService> self = service.promote();
            const ClientPointer gone = dead.lock();
            if (self != nullptr && gone != nullptr && self->remove(gone)) {
                self->release(gone, "is gone");
            }
        });
    {
        const std::lock_guard lock{mutex_};
        if (const ClientPointer other = findLocked(id)) {
            ALOGW("KivraRpc: refused %s: %s is registered", client->name.c_str(),
                  other->name.c_str());
            return Hal::Result::BAD_STATE;
        }
        clients_.push_back(client);
    }
    // Only now that the client is in the list does its death find it there.
    if (!callback->linkToDeath(client->deathRecipient, 0).withDefault(false)) {
        remove(client);
        ALOGW("KivraRpc: refused %s: it is dead", client->name.c_str());
        return Hal::Result::FAILURE;
    }
    ALOGI("KivraRpc: %s is registered", client->name.c_str());
    return Hal::Result::SUCCESS;
}

TambrilService::Return<Hal::Result> TambrilService::unregisterClient(Hal::KivraRpcClientId id) {
    const Hal::Result fault = faultOf("unregisterClient");
    if (fault != Hal::Result::SUCCESS) {
        return fault;
    }
    ClientPointer client;
    {
        const std::lock_guard lock{mutex_};
        client = findLocked(id);
    }
    if (client == nullptr) {
        return Hal::Result::BAD_STATE;
    }
    if (client->process != callingProcess()) {
        ALOGW("KivraRpc: refused process %d, which is not %s, to unregister it", callingProcess(),
              client->name.c_str());
        return Hal::Result::FAILURE;
    }
    if (!remove(client)) {
        return Hal::Result::BAD_STATE;
    }
    release(client, "unregistered");
    return Hal::Result::SUCCESS;
}

TambrilService::Return<Hal::Result> TambrilService::sendMessage(
    const Callback& callback, const Hal::ControllerAddr& address, uint32_t procedure,
    const android::hardware::hidl_vec<uint8_t>& payload) {
    const Hal::Result fault = faultOf("sendMessage");
    if (fault != Hal::Result::SUCCESS) {
        return fault;
    }
    ClientPointer client;
    {
        const std::lock_guard lock{mutex_};
        const auto found = std::find_if(clients_.begin(), clients_.end(), [&](const auto& c) {
            return android::hardware::interfacesEqual(c->callback, callback);
        });
        client = found == clients_.end() ? nullptr : *found;
    }
    if (client == nullptr) {
        return Hal::Result::BAD_STATE;
    }
    if (payload.size() > kMaxPayloadSize) {
        ALOGW("KivraRpc: refused %zu bytes from %s", payload.size(), client->name.c_str());
        return Hal::Result::FAILURE;
    }
    if (std::find(kControllers.begin(), kControllers.end(), address.address) ==
        kControllers.end()) {
        ALOGW("KivraRpc: refused a message from %s: there is no controller %#llx",
              client->name.c_str(), static_cast<unsigned long long>(address.address));
        return Hal::Result::FAILURE;
    }
    ++requests_;
    Hal::KivraRpcMessage answer{};
    answer.address = address;
    answer.header.procedure = procedure;
    const auto& refused = settings_.refusedProcedures;
    if (std::find(refused.begin(), refused.end(), procedure) != refused.end()) {
        answer.kind = Hal::KivraRpcMessageKind::ERROR;
        answer.payload = bytesOf(fmt::format("procedure {} refused", procedure));
    } else {
        answer.kind = Hal::KivraRpcMessageKind::RESPONSE;
        answer.payload = payload;
    }
    deliver(client.get(), std::move(answer));
    return Hal::Result::SUCCESS;
}

TambrilService::Return<int64_t> TambrilService::translateTime(int64_t time, Hal::TimeDomain from,
                                                              Hal::TimeDomain to) {
    const std::optional<int64_t> translated = translate(time, from, to);
    if (!translated) {
        // The call has no result to say so with.
        ALOGW("time: process %d asked for a translation from %s to %s; answered with 0",
              callingProcess(), toString(from).c_str(), toString(to).c_str());
    }
    return translated.value_or(0);
}

std::string TambrilService::summary() const {
    return fmt::format("KivraRpc: {} requests to controllers, {} messages from them",
                       requests_.load(), messages_.load());
}

TambrilService::ClientPointer TambrilService::findLocked(Hal::KivraRpcClientId id) const {
    const auto found = std::find_if(clients_.begin(), clients_.end(),
                                    [id](const ClientPointer& client) { return client->id == id; });
    return found == clients_.end() ? nullptr : *found;
}

bool TambrilService::remove(const ClientPointer& client) {
    const std::lock_guard lock{mutex_};
    const auto found = std::find(clients_.begin(), clients_.end(), client);
    if (found == clients_.end()) {
        return false;
    }
    clients_.erase(found);
    return true;
}

/// Of a client that was removed from the list. Not under the lock: its process is told when the
/// last reference to its object goes.
void TambrilService::release(const ClientPointer& client, const char* reason) const {
    ALOGI("KivraRpc: %s %s", client->name.c_str(), reason);
    // False for a dead client: there is no link any more.
    static_cast<void>(client->callback->unlinkToDeath(client->deathRecipient).isOk());
}

void TambrilService::deliver(Client* client, Hal::KivraRpcMessage message) {
    const auto controller = static_cast<size_t>(
        std::find(kControllers.begin(), kControllers.end(), message.address.address) -
        kControllers.begin());
    const std::lock_guard lock{client->deliveryMutex};
    const int64_t now =
        std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
    message.arrivalTimestamp = now;
    message.header.sentTimestamp = kControllerClock.at(now - kRadioLatency);
    message.header.sequence = sequences_.at(controller)++;
    // One that cannot be delivered has a dead receiver, whose obituary is on its way.
    if (client->callback->onKivraRpcMessage(message).isOk()) {
        ++messages_;
    }
}

void TambrilService::notify(uint32_t number) {
    std::vector<ClientPointer> clients;
    {
        const std::lock_guard lock{mutex_};
        clients = clients_;
    }
    for (const ClientPointer& client : clients) {
        for (const uint64_t address : kControllers) {
            Hal::KivraRpcMessage message{};
            message.address = {address};
            message.header.procedure = kStatusProcedure;
            message.kind = Hal::KivraRpcMessageKind::NOTIFICATION;
            message.payload = bytesOf(fmt::format("status {}", number));
            deliver(client.get(), std::move(message));
        }
    }
}

}  // namespace Simulator
