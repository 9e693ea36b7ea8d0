// The clients of a server, from the call that makes one known until it leaves or dies.
#pragma once

#include <hidl/HidlTransportSupport.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "client_identity.h"
#include "descriptor_share.h"
#include "refusal.h"

namespace Simulator {

/// A server's data of one client; servers derive their own from it. The constructor calls the
/// client, so use it on a thread that serves a call of that client, and without a lock.
struct RegisteredClient {
    explicit RegisteredClient(const ClientIdentity& client)
        : identity(client), process(callingProcess()), name(describeCaller(client)) {}

    const ClientIdentity identity;
    const int process;
    /// For log lines.
    std::string name;
    android::sp<ClientDeathRecipient> deathRecipient;
    /// None for a client that takes no descriptors, or is in the list no longer.
    std::optional<DescriptorShare> descriptors;

    bool hasTooManyDescriptors() const { return descriptors && descriptors->isExceeded(); }
};

/// Whether the process may not register one more client. A process gets at most half of the places,
/// so that it cannot lock out others.
template <typename Clients>
bool isFull(const Clients& clients, size_t maxClients, int process) {
    const auto ofProcess =
        std::count_if(clients.begin(), clients.end(),
                      [process](const auto& client) { return client->process == process; });
    return clients.size() >= maxClients || static_cast<size_t>(ofProcess) >= maxClients / 2;
}

/// Registers clients by their identity. Servers derive from this and guard their data with its
/// mutex. Death recipients hold the server weakly.
///
/// Threading: calls and deaths come on HIDL threads.
template <typename Client>
class ClientRegister : public virtual android::RefBase {
  public:
    static constexpr size_t kMaxClients = 128;

  protected:
    using ClientPointer = std::shared_ptr<Client>;

    explicit ClientRegister(size_t maxClients = kMaxClients) : maxClients_(maxClients) {}

    /// Adds the client to the list and links to its death.
    /// @param admit called under the lock before that; returns the reason to refuse the client, or
    /// NONE
    template <typename Admit>
    Refusal enrol(const ClientPointer& client, const Admit& admit);

    /// @return null if the client is not registered
    ClientPointer findLocked(const ClientIdentity& identity) const {
        const auto found =
            std::find_if(clients_.begin(), clients_.end(), [&](const ClientPointer& client) {
                return android::hardware::interfacesEqual(client->identity, identity);
            });
        return found == clients_.end() ? nullptr : *found;
    }

    bool isFullLocked(int process) const { return isFull(clients_, maxClients_, process); }

    /// Removes the oldest dispensable client from the list. Call release() afterwards, without the
    /// lock. @return null if there is none
    template <typename Predicate>
    ClientPointer takeOldestLocked(const Predicate& isDispensable) {
        const auto found =
            std::find_if(clients_.begin(), clients_.end(),
                         [&](const ClientPointer& client) { return isDispensable(*client); });
        const ClientPointer taken = found == clients_.end() ? nullptr : *found;
        removeLocked(taken);
        return taken;
    }

    /// Removes a client from the list. Call release() afterwards, without the lock. @return false
    /// if it was not there
    bool removeLocked(const ClientPointer& client) {
        const auto found = std::find(clients_.begin(), clients_.end(), client);
        if (found == clients_.end()) {
            return false;
        }
        clients_.erase(found);
        client->descriptors.reset();
        onRemovedLocked(*client);
        onChangeLocked();
        return true;
    }

    /// Unlinks from the death of a removed client. Call it without the lock: dropping the last
    /// reference to the client's object sends a message to its process.
    void release(const ClientPointer& client, const char* reason) {
        onRelease(*client, reason);
        // Fails if the client is dead; then there is no link any more.
        static_cast<void>(client->identity->unlinkToDeath(client->deathRecipient).isOk());
    }

    /// Called under the lock after the client was removed from the list.
    virtual void onRemovedLocked(Client& /*client*/) {}
    /// Called under the lock when the list, or a client's isStarted, has changed.
    virtual void onChangeLocked() {}
    /// Called without the lock after the client was removed.
    virtual void onRelease(Client& /*client*/, const char* /*reason*/) {}

    mutable std::mutex mutex_;
    std::vector<ClientPointer> clients_;

  private:
    void forgetDead(const std::weak_ptr<Client>& dead);

    const size_t maxClients_;
};

template <typename Client>
template <typename Admit>
Refusal ClientRegister<Client>::enrol(const ClientPointer& client, const Admit& admit) {
    if (client->identity == nullptr) {
        return Refusal::NO_IDENTITY;
    }
    client->deathRecipient = new ClientDeathRecipient(
        [server = android::wp<ClientRegister>(this), dead = std::weak_ptr<Client>(client)] {
            if (const android::sp<ClientRegister> self = server.promote()) {
                self->forgetDead(dead);
            }
        });
    {
        const std::lock_guard lock{mutex_};
        if (const Refusal refusal = admit(); refusal != Refusal::NONE) {
            return refusal;
        }
        if (isFullLocked(client->process)) {
            return Refusal::TOO_MANY_CLIENTS;
        }
        if (client->hasTooManyDescriptors()) {
            return Refusal::TOO_MANY_DESCRIPTORS;
        }
        clients_.push_back(client);
    }
    // Links only after the client is in the list, because its death removes it from there.
    if (!client->identity->linkToDeath(client->deathRecipient, 0).withDefault(false)) {
        const std::lock_guard lock{mutex_};
        removeLocked(client);
        return Refusal::DEAD;
    }
    return Refusal::NONE;
}

template <typename Client>
void ClientRegister<Client>::forgetDead(const std::weak_ptr<Client>& dead) {
    const ClientPointer client = dead.lock();
    bool wasKnown = false;
    {
        const std::lock_guard lock{mutex_};
        wasKnown = client != nullptr && removeLocked(client);
    }
    if (wasKnown) {
        release(client, "is gone");
    }
}

}  // namespace Simulator
