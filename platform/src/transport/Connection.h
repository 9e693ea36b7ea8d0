// The connection between this process and one other: calls in both directions.
#pragma once

#include <hwbinder/Binder.h>
#include <hwbinder/BpHwBinder.h>
#include <hwbinder/Parcel.h>
#include <sys/socket.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "Mutex.h"
#include "transport/Backlog.h"
#include "transport/DescriptorClaim.h"
#include "transport/Frame.h"
#include "transport/ObjectTable.h"
#include "transport/ReaderRole.h"
#include "transport/ThreadPool.h"

namespace android::hardware::details {

/**
 * Calls the peer's objects and serves the peer's calls, over one socket. Calls that the peer makes
 * while it serves a call of ours are served on the thread that waits for that call.
 *
 * A call for which the peer has no room waits (see CallWindow). A connection ends only when the
 * peer dies, does not read, or breaks the protocol. Then waiting calls fail with DEAD_OBJECT, the
 * peer's references are dropped, and the proxies notify their death recipients.
 *
 * Threading: every method may be called from any thread. Nothing is logged while a mutex is held.
 */
class Connection final : public Readable, public std::enable_shared_from_this<Connection> {
  public:
    using Clock = std::chrono::steady_clock;

    /** Threading: called without any lock of the connection. */
    class Owner {
      public:
        virtual ~Owner() = default;
        /** Called once, by the thread that notices the end. */
        virtual void onEnd(const Connection* connection) = 0;
        /**
         * Called when peers have sent so many descriptors that this process may run out of them.
         */
        virtual void onTooManyDescriptors() = 0;
    };

    /**
     * Takes over a connected socket.
     * @param owner outlives the connection
     * @return null if the pool cannot watch the socket
     */
    static std::shared_ptr<Connection> start(unique_fd socket, const ucred& peer,
                                             const sp<BHwBinder>& root, Owner& owner);

    /**
     * Calls an object of the peer and, unless the call is one-way, waits for the reply.
     * @param deadline for the reply, after which the call fails with TIMED_OUT; without one, the
     * call waits as long as the peer lives
     */
    status_t call(uint64_t objectId, uint32_t code, const Parcel& data, Parcel* reply,
                  uint32_t flags, Clock::time_point deadline = Clock::time_point::max());

    /** Queues the release of the references of a proxy that is being destroyed. Does not write. */
    void releaseProxy(const BpHwBinder* proxy);
    /** Sends the queued releases now. */
    void sendReleases();

    /** Ends the connection and logs why. */
    void drop(const char* reason);
    /** Ends the connection. */
    void close();

    bool isAlive() const { return alive_; }
    const ucred& peer() const { return peer_; }
    /** Number of received descriptors that no program has taken yet. */
    size_t descriptorsWaiting() const { return *account_; }

    void onReadable(bool isAtEnd, bool mayServe) override;
    int process() const override { return peer_.pid; }

  private:
    struct PendingCall : ReaderRole::Caller {
        /**
         * A call that the peer makes while it serves this one. There is at most one, because the
         * peer waits for its reply.
         */
        TransactionPointer nested;
        bool isDone = false;
        status_t status = OK;
        /** Receives the reply; owned by the caller. May be null. */
        Parcel* reply = nullptr;
        /** The call's cost in the window; 0 for a nested call. */
        size_t cost = 0;
    };

    Connection(unique_fd socket, const ucred& peer, const sp<BHwBinder>& root, Owner& owner);

    status_t callOneWay(const FrameHeader& header, const Parcel& data);
    status_t awaitRoom(CallWindow& window, size_t cost, Clock::time_point deadline)
        REQUIRES(mutex_);
    status_t awaitReply(PendingCall& call, Clock::time_point deadline) REQUIRES(mutex_);
    void giveBack(CallWindow& window, size_t cost) REQUIRES(mutex_);

    /**
     * Receives at least one whole message and dispatches what has arrived. Called by the thread
     * that has the reader's role.
     * @param flags of recvmsg
     * @return how many threads must call serve(); empty if the connection has ended
     */
    std::optional<size_t> readMessages(int flags);
    // These throw BrokenPeer.
    size_t dispatch(Frame* frame);
    size_t dispatchCall(Frame* frame);
    void dispatchReply(Frame* frame);
    void dispatchServed(const FrameHeader& header);
    Parcel parcelOf(Frame* frame);

    void postServing(size_t threads);
    /** Serves the peer's calls until none is ready. */
    void serve();
    void serveOne(const Transaction& transaction);
    /** Called before the peer learns that the call is over. */
    void accountAsServed(const Transaction& transaction);
    void answer(uint64_t callId, status_t status, const Parcel& reply);

    /** @param call gives up the reader's role before this waits for room in the socket */
    status_t send(FrameHeader header, const Parcel& parcel, PendingCall* call = nullptr);
    status_t sendNow(const FrameHeader& header, const Parcel& parcel,
                     const std::vector<ObjectReference>& objects,
                     const std::vector<FrameHeader>& releases, PendingCall* call);
    status_t sendHeader(const FrameHeader& header);
    void stopReading(PendingCall* call);
    void releaseLater();

    void end();

    const ucred peer_;
    Owner& owner_;
    const std::shared_ptr<DescriptorAccount> account_ = std::make_shared<DescriptorAccount>(0);
    ObjectTable objects_;
    std::atomic<bool> alive_{true};
    std::atomic<bool> isReleasingLater_{false};
    // Used only by the thread that has the reader's role.
    FrameReader reader_;
    DescriptorClaim readersClaim_{account_};

    Mutex sendMutex_ ACQUIRED_BEFORE(mutex_);
    Mutex mutex_;
    unique_fd socket_;  // the reader closes it, with both mutexes held
    ReaderRole role_ GUARDED_BY(mutex_);
    uint64_t lastCallId_ GUARDED_BY(mutex_) = 0;
    std::map<uint64_t, PendingCall*> pendingCalls_ GUARDED_BY(mutex_);
    /** Calls that timed out and whose replies may still arrive, with their cost in the window. */
    std::map<uint64_t, size_t> abandonedCalls_ GUARDED_BY(mutex_);
    CallWindow sentCalls_ GUARDED_BY(mutex_);
    CallWindow sentOneWayCalls_ GUARDED_BY(mutex_);
    std::condition_variable roomMade_;
    CallWindow receivedCalls_ GUARDED_BY(mutex_);
    CallWindow receivedOneWayCalls_ GUARDED_BY(mutex_);
    size_t servedOneWay_ GUARDED_BY(mutex_) = 0;  // cost that the peer has not been told of yet
    Backlog backlog_ GUARDED_BY(mutex_);
};

}  // namespace android::hardware::details
