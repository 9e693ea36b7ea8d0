// This process among the others: its socket, its connections, the services it offers.
#pragma once

#include <hwbinder/Binder.h>

#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "transport/Connection.h"
#include "transport/Registry.h"

namespace android::hidl::base::V1_0 {
struct IBase;
}

namespace android::hardware::details {

/**
 * The services of one process by name; the root object of its connections, where
 * other processes ask for them.
 */
class ServiceTable final : public BHwBinder {
  public:
    void set(const std::string& name, const sp<hidl::base::V1_0::IBase>& service);
    sp<hidl::base::V1_0::IBase> get(const std::string& name) const;

    /**
     * Asks the table of a peer. @param service receives null if there is none
     * @return TIMED_OUT if the peer's process does not answer
     */
    static status_t ask(Connection& peer, const std::string& name, sp<IBinder>* service);

  protected:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags,
                        TransactCallback callback) override;

  private:
    mutable std::mutex mutex_;
    std::map<std::string, sp<hidl::base::V1_0::IBase>> services_;
};

/**
 * A process has one socket for all of its services and at most one connection to each
 * other process, whichever of the two connected: objects are themselves only within
 * one connection.
 *
 * Threading: every method may be called from any thread.
 */
class Endpoint final : public Readable, public std::enable_shared_from_this<Endpoint> {
  public:
    /** Never destroyed: its threads may outlive main(). */
    static Endpoint& self();

    /** Opens the process's socket if that has not been done. @return OK or -errno */
    status_t listen();

    /** Name of this process's socket; empty before listen(). */
    std::string socketName() const;

    /** A live connection to the process with that socket; null if it is gone or takes no more. */
    std::shared_ptr<Connection> connectTo(const Registry& registry, const std::string& socketName);

    ServiceTable& services() { return *services_; }

    /** Accepts a connection. */
    void onReadable(bool isAtEnd) override;

  private:
    Endpoint();
    std::shared_ptr<Connection> findLocked(int process) const;
    std::shared_ptr<Connection> startLocked(unique_fd socket);
    void forget(const Connection* connection);

    const sp<ServiceTable> services_;
    mutable std::mutex mutex_;
    std::string socketName_;
    unique_fd listener_;  // stays open once it is
    uint64_t watchName_ = 0;
    std::list<std::shared_ptr<Connection>> connections_;
    pid_t lastRefused_ = 0;
};

}  // namespace android::hardware::details
