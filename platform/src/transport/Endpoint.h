// This process's socket, its connections to other processes, and the services that it offers.
#pragma once

#include <hwbinder/Binder.h>

#include <condition_variable>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "Mutex.h"
#include "transport/Connection.h"
#include "transport/Registry.h"

namespace android::hidl::base::V1_0 {
struct IBase;
}

namespace android::hardware::details {

/**
 * The services of one process, by name. It is the root object of the process's connections, which
 * other processes ask for services.
 */
class ServiceTable final : public BHwBinder {
  public:
    void set(const std::string& name, const sp<hidl::base::V1_0::IBase>& service);
    sp<hidl::base::V1_0::IBase> get(const std::string& name) const;

    /**
     * Asks a peer's table for a service. @param service receives null if there is none
     * @return TIMED_OUT if the peer does not answer, ALREADY_EXISTS if the caller must ask over the
     * connection that the peer has made
     */
    static status_t ask(Connection& peer, const std::string& name, sp<IBinder>* service);

  protected:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags,
                        TransactCallback callback) override;

  private:
    mutable Mutex mutex_;
    std::map<std::string, sp<hidl::base::V1_0::IBase>> services_ GUARDED_BY(mutex_);
};

/**
 * A process has one socket for all of its services and at most one connection in use to each other
 * process, whichever of the two connected: an object keeps its identity only within one connection.
 * When two processes connect to each other at once, the connection of the process with the lower
 * number is used, and that process tells the other.
 *
 * Threading: every method may be called from any thread. Nothing is logged while a mutex is held.
 */
class Endpoint final : public Readable,
                       public Connection::Owner,
                       public std::enable_shared_from_this<Endpoint> {
  public:
    /** Never destroyed: its threads may outlive main(). */
    static Endpoint& self();

    /** Opens the process's socket unless it is open. @return OK or -errno */
    status_t listen();

    /** Name of this process's socket; empty if listen() was not called yet. */
    std::string socketName() const;

    /**
     * Asks the process that owns the socket for a service. Connects to it first if there is no
     * connection.
     * @param service receives null if there is none
     * @return NAME_NOT_FOUND if there is no such process or it accepts no more connections,
     * TIMED_OUT if it does not answer, DEAD_OBJECT if it dies during the call
     */
    status_t ask(const Registry& registry, const std::string& socketName, const std::string& name,
                 sp<IBinder>* service);

    ServiceTable& services() { return *services_; }

    /** Whether the peer must use another connection than this one. */
    bool isSpare(const Connection* connection) const;

    /** Sends the queued releases of all connections. */
    void sendReleases();

    /** Accepts a connection. */
    void onReadable(bool isAtEnd, bool mayServe) override;
    int process() const override { return kNoProcess; }

    void onEnd(const Connection* connection) override;
    /**
     * Drops connections until the limit is kept: the one with the most waiting descriptors, of the
     * process that has sent most.
     */
    void onTooManyDescriptors() override;

  private:
    struct Entry {
        std::shared_ptr<Connection> connection;
        /** Socket to which this process connected; empty if the peer made the connection. */
        std::string socketName;
        /** The connection is not, or not yet, the one over which this process calls the peer. */
        bool isSpare = false;
    };

    Endpoint();
    status_t listenLocked(Registry& registry) REQUIRES(mutex_);
    std::shared_ptr<Connection> findLocked(const std::string& socketName, int process) const
        REQUIRES(mutex_);
    std::shared_ptr<Connection> connect(const Registry& registry, const std::string& socketName);
    /**
     * @param socketName socket to which this process connected; empty if the peer made the
     * connection
     * @return null if the connection is refused
     */
    std::shared_ptr<Connection> start(unique_fd socket, const std::string& socketName);
    bool hasRoomForLocked(int process) REQUIRES(mutex_);
    /** The connection to drop because too many descriptors wait; null if the limit is kept. */
    std::shared_ptr<Connection> findGreediest() const;

    const sp<ServiceTable> services_;
    mutable Mutex mutex_;
    std::condition_variable changed_;
    std::string socketName_ GUARDED_BY(mutex_);
    unique_fd listener_ GUARDED_BY(mutex_);  // never closed once it is open
    uint64_t watchName_ GUARDED_BY(mutex_) = 0;
    std::list<Entry> connections_ GUARDED_BY(mutex_);
    std::set<int> connecting_ GUARDED_BY(mutex_);  // processes to which a thread is connecting
    pid_t lastRefused_ GUARDED_BY(mutex_) = 0;
};

}  // namespace android::hardware::details
