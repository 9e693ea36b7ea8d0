// The clients of a server that have a stream, and their stream commands.
#pragma once

#include <log/log.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <utility>

#include "client_register.h"

namespace Simulator {

/// A stream server's data of one client. Derived classes have a method `refusal()`, which checks
/// the stream.
struct StreamingParty : RegisteredClient {
    /// @param kept how many descriptors the service keeps for it
    StreamingParty(const ClientIdentity& client, size_t kept) : RegisteredClient(client) {
        descriptors.emplace(process, kept);
    }

    // Guarded by the register's lock.
    bool isStarted = false;
    /// Whether the client itself ended the stream.
    bool isDisconnected = false;
};

template <typename Client>
class StreamRegister : public ClientRegister<Client> {
  public:
    /// @param name of the stream, for log lines
    explicit StreamRegister(std::string name, size_t maxClients = StreamRegister::kMaxClients)
        : ClientRegister<Client>(maxClients), name_(std::move(name)) {}

    const std::string& name() const { return name_; }

    Hidl::Result control(const ClientIdentity& identity, Hidl::StreamCommand command);

  protected:
    using typename ClientRegister<Client>::ClientPointer;

    /// Adds the client with its stream stopped. Replaces an earlier stream of the same client.
    /// @return false, with a log line, if the client is refused
    bool takeIn(const ClientPointer& client);

    /// If the process has had all of its places or descriptors, the oldest of its streams here that
    /// is stopped gives way: it may have forgotten it without a word. To be followed by release(),
    /// without the lock.
    /// @return null if none gave way
    ClientPointer makeRoomLocked(const Client& newcomer) {
        if (!this->isFullLocked(newcomer.process) && !newcomer.hasTooManyDescriptors()) {
            return nullptr;
        }
        return this->takeOldestLocked([&newcomer](const Client& client) {
            return client.process == newcomer.process && !client.isStarted;
        });
    }

    /// Called when a client's stream replaces an earlier one.
    virtual void onReplaceLocked(Client& /*former*/, Client& /*successor*/) {}

    bool isAnyStartedLocked() const {
        return std::any_of(this->clients_.begin(), this->clients_.end(),
                           [](const ClientPointer& client) { return client->isStarted; });
    }

  private:
    const std::string name_;
};

template <typename Client>
bool StreamRegister<Client>::takeIn(const ClientPointer& client) {
    ClientPointer former;
    Refusal refusal = client->refusal();
    if (refusal == Refusal::NONE) {
        refusal = this->enrol(client, [&] {
            former = this->findLocked(client->identity);
            if (this->removeLocked(former)) {
                onReplaceLocked(*former, *client);
            } else {
                former = makeRoomLocked(*client);
            }
            return Refusal::NONE;
        });
    }
    if (former != nullptr) {
        this->release(former, "gives way to another queue");
    }
    if (refusal != Refusal::NONE) {
        ALOGW("%s: refused %s: %s", name_.c_str(), client->name.c_str(), textOf(refusal).c_str());
    }
    return refusal == Refusal::NONE;
}

template <typename Client>
Hidl::Result StreamRegister<Client>::control(const ClientIdentity& identity,
                                             Hidl::StreamCommand command) {
    if (identity == nullptr) {
        return Hidl::Result::FAILURE;
    }
    ClientPointer client;
    {
        const std::lock_guard lock{this->mutex_};
        client = this->findLocked(identity);
        if (client == nullptr) {
            return Hidl::Result::BAD_STATE;
        }
        const bool start = command == Hidl::StreamCommand::START;
        if (start || command == Hidl::StreamCommand::STOP) {
            if (client->isStarted == start) {
                return Hidl::Result::IGNORED;
            }
            client->isStarted = start;
            this->onChangeLocked();
            return Hidl::Result::SUCCESS;
        }
        if (command != Hidl::StreamCommand::DISCONNECT) {
            return Hidl::Result::FAILURE;
        }
        client->isDisconnected = true;
        this->removeLocked(client);
    }
    this->release(client, "disconnected");
    return Hidl::Result::SUCCESS;
}

}  // namespace Simulator
