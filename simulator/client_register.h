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

/// What every server keeps of a client; servers derive their own from it. Made on the thread that
/// serves a call of the client, without a lock.
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

/// Whether there is no place for one more client of the process. No process gets more than half of
/// the places, so that one cannot lock out the others.
template <typename Clients>
bool isFull(const Clients& clients, size_t maxClients, int process) {
    const auto ofProcess =
        std::count_if(clients.begin(), clients.end(),
                      [process](const auto& client) { return client->process == process; });
    return clients.size() >= maxClients || static_cast<size_t>(ofProcess) >= maxClients / 2;
}

/// A client is known by its identity. Servers derive from this and guard all they have with its
/// lock. Deaths hold them weakly.
///
/// Threading: calls and deaths come on HIDL threads.
template <typename Client>
class ClientRegister : public virtual android::RefBase {
  public:
    static constexpr size_t kMaxClients = 128;

  protected:
    using ClientPointer = std::shared_ptr<Client>;

    explicit ClientRegister(size_t maxClients = kMaxClients) : maxClients_(maxClients) {}

    /// Makes the client known, its death linked.
    /// @param admit called under the lock before that; returns whether and why it refuses the
    /// client
    template <typename Admit>
    Refusal enrol(const ClientPointer& client, const Admit& admit);

    /// @return null if it is not known
    ClientPointer findLocked(const ClientIdentity& identity) const {
        const auto found =
            std::find_if(clients_.begin(), clients_.end(), [&](const ClientPointer& client) {
                return android::hardware::interfacesEqual(client->identity, identity);
            });
        return found == clients_.end() ? nullptr : *found;
    }

    bool isFullLocked(int process) const { return isFull(clients_, maxClients_, process); }

    /// Takes the oldest client that can be done without out of the list. To be followed by
    /// release(), without the lock. @return null if there is none
    template <typename Predicate>
    ClientPointer takeOldestLocked(const Predicate& isDispensable) {
        const auto found =
            std::find_if(clients_.begin(), clients_.end(),
                         [&](const ClientPointer& client) { return isDispensable(*client); });
        const ClientPointer taken = found == clients_.end() ? nullptr : *found;
        removeLocked(taken);
        return taken;
    }

    /// To be followed by release(), without the lock. @return false if it was not there
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

    /// Cuts the link to a client that was removed. Not under the lock: its process is told when the
    /// last reference to its object goes.
    void release(const ClientPointer& client, const char* reason) {
        onRelease(*client, reason);
        // False for a dead client: there is no link any more.
        static_cast<void>(client->identity->unlinkToDeath(client->deathRecipient).isOk());
    }

    /// The client is no longer in the list.
    virtual void onRemovedLocked(Client& /*client*/) {}
    /// The list, or whether a client in it is started, has changed.
    virtual void onChangeLocked() {}
    /// The client was removed; not under the lock.
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
    // Only now that the client is in the list does its death find it there.
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
