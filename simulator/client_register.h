// The clients of a server, from the call that makes one known until it leaves or dies.
#pragma once

#include <hidl/HidlTransportSupport.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "client_identity.h"
#include "hal.h"

namespace Simulator {

/// What every server keeps of a client; servers derive their own from it.
struct RegisteredClient {
    explicit RegisteredClient(const android::sp<Hal::ISensorClient>& client) : identity(client) {}

    const android::sp<Hal::ISensorClient> identity;
    /// For log lines; see describeCaller.
    std::string name;
    android::sp<ClientDeathRecipient> deathRecipient;
};

/// A client is known by its ISensorClient object. Servers derive from this and guard all they have
/// with its lock.
///
/// Threading: calls and deaths come on HIDL threads.
template <typename Client>
class ClientRegister : public std::enable_shared_from_this<ClientRegister<Client>> {
  public:
    static constexpr size_t kMaxClients = 64;

    ClientRegister() = default;
    virtual ~ClientRegister() = default;
    ClientRegister(const ClientRegister&) = delete;
    ClientRegister& operator=(const ClientRegister&) = delete;

  protected:
    using ClientPointer = std::shared_ptr<Client>;

    /// Makes the client known, its death linked.
    /// @return why that is not possible; null if it was
    const char* enrol(const ClientPointer& client);

    /// @return null if it is not known
    ClientPointer findLocked(const android::sp<Hal::ISensorClient>& identity) const {
        const auto found =
            std::find_if(clients_.begin(), clients_.end(), [&](const ClientPointer& client) {
                return android::hardware::interfacesEqual(client->identity, identity);
            });
        return found == clients_.end() ? nullptr : *found;
    }

    /// To be followed by release(), without the lock. @return false if it was not there
    bool removeLocked(const ClientPointer& client) {
        const auto found = std::find(clients_.begin(), clients_.end(), client);
        if (found == clients_.end()) {
            return false;
        }
        clients_.erase(found);
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

    /// The list has become another one.
    virtual void onChangeLocked() {}
    /// The client is no longer in the list; not under the lock.
    virtual void onRelease(Client& client, const char* reason) = 0;

    mutable std::mutex mutex_;
    std::vector<ClientPointer> clients_;

  private:
    void forgetDead(const std::weak_ptr<Client>& dead);
};

template <typename Client>
const char* ClientRegister<Client>::enrol(const ClientPointer& client) {
    client->deathRecipient = new ClientDeathRecipient(
        [server = this->weak_from_this(), dead = std::weak_ptr<Client>(client)] {
            if (const auto self = server.lock()) {
                self->forgetDead(dead);
            }
        });
    {
        const std::lock_guard lock{mutex_};
        if (clients_.size() >= kMaxClients) {
            return "there are too many clients";
        }
        clients_.push_back(client);
    }
    // Only now that the client is in the list does its death find it there.
    if (!client->identity->linkToDeath(client->deathRecipient, 0).withDefault(false)) {
        const std::lock_guard lock{mutex_};
        removeLocked(client);
        return "it is dead";
    }
    return nullptr;
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
