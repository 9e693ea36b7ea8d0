// The connection between this process and one other: calls in both directions.
#pragma once

#include <hwbinder/Binder.h>
#include <hwbinder/BpHwBinder.h>
#include <hwbinder/Parcel.h>
#include <sys/socket.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <vector>

#include "transport/DescriptorClaim.h"
#include "transport/Frame.h"
#include "transport/ThreadPool.h"

namespace android::hardware::details {

/**
 * One thread at a time reads the messages: one that waits for the reply to a call, or else one of
 * the thread pool, which then serves what it has read. Whoever is reading runs no code of programs
 * and does not write: a thread that is to do so lets another one read first, so that there is
 * always one that can. Calls that the peer makes while it serves a call of ours are served on the
 * thread that waits for that call. One-way calls are served one after the other.
 *
 * A reference to an object is counted each time it is sent. The receiver gives the
 * counts back together when it drops its proxy, so that a reference which is on its
 * way at that moment is not lost. That message goes with the next one, and by itself only if none
 * comes soon: a call with an object as its argument would otherwise wake its caller twice.
 *
 * A connection ends with the peer, when something cannot be sent, or when the peer
 * breaks the protocol or its limits. Then waiting calls fail with DEAD_OBJECT, the
 * references of the peer are dropped, and the proxies send their obituaries.
 *
 * Threading: every method may be called from any thread.
 */
class Connection final : public Readable, public std::enable_shared_from_this<Connection> {
  public:
    using Clock = std::chrono::steady_clock;

    /** The object that every process offers to its peers without being asked. */
    static constexpr uint64_t kRootObjectId = 0;

    /**
     * Takes over a connected socket.
     * @param account of the peer's process
     * @param onEnd called once, when it has ended, by the thread that finds out
     * @return null if the socket cannot be waited for
     */
    static std::shared_ptr<Connection> start(unique_fd socket, const ucred& peer,
                                             std::shared_ptr<DescriptorAccount> account,
                                             const sp<BHwBinder>& root,
                                             std::function<void(const Connection*)> onEnd);

    /**
     * Calls an object of the peer and, unless the call is one-way, waits for the reply.
     * @param deadline of the reply, after which the call fails with TIMED_OUT; without one, it is
     * waited for as long as the peer lives
     */
    status_t call(uint64_t objectId, uint32_t code, const Parcel& data, Parcel* reply,
                  uint32_t flags, Clock::time_point deadline = Clock::time_point::max());

    /** Gives back the references of a proxy that is being destroyed, soon. Does not write. */
    void releaseProxy(BpHwBinder* proxy);

    bool isAlive() const { return alive_; }
    const ucred& peer() const { return peer_; }
    const std::shared_ptr<DescriptorAccount>& account() const { return account_; }

    void onReadable(bool isAtEnd) override;

  private:
    struct Transaction {
        explicit Transaction(const std::shared_ptr<DescriptorAccount>& account) : claim(account) {}

        FrameHeader header;
        DescriptorClaim claim;
        sp<BHwBinder> target;
        Parcel data;

        bool isOneWay() const { return (header.flags & IBinder::FLAG_ONEWAY) != 0; }
    };
    using TransactionPointer = std::shared_ptr<Transaction>;

    struct PendingCall {
        std::condition_variable changed;
        std::vector<TransactionPointer> nested;  // rarely more than one
        /** Its thread waits for `changed`. */
        bool isAsleep = false;
        /** Its thread is the one that reads. */
        bool isReading = false;
        bool isDone = false;
        status_t status = OK;
        /** The caller's; null if it wants none. */
        Parcel* reply = nullptr;
    };

    struct Export {
        sp<BHwBinder> object;
        uint64_t referencesSent = 0;
    };
    struct Import {
        BpHwBinder* address = nullptr;
        wp<BpHwBinder> proxy;
    };

    /** What was received and not served yet. */
    struct Backlog {
        size_t calls = 0;
        size_t oneWayCalls = 0;
        size_t bytes = 0;

        void add(const Transaction& transaction);
        void remove(const Transaction& transaction);
        bool isTooLong() const;
    };

    Connection(unique_fd socket, const ucred& peer, std::shared_ptr<DescriptorAccount> account,
               const sp<BHwBinder>& root, std::function<void(const Connection*)> onEnd);

    status_t awaitReply(PendingCall& call, Clock::time_point deadline,
                        std::unique_lock<std::mutex>& lock);

    /** @return false if another thread reads */
    bool startReadingLocked();
    void stopReadingLocked(PendingCall& call);
    /** Lets a thread read that waits for a reply, or one of the pool. */
    void letAnotherReadLocked();
    void ignoreLocked();
    /**
     * Receives until there are whole messages, and dispatches them.
     * @param flags of recvmsg
     * @param own receives a call that the thread can serve when it has stopped reading; null if it
     * cannot
     * @return false when this was the end of the connection
     */
    bool readMessages(int flags, TransactionPointer* own);

    // Each returns false after dropping a peer that has sent what makes no sense.
    bool claimDescriptors();
    bool dispatchReceived(bool* isAnyWhole, TransactionPointer* own);
    bool dispatch(Frame* frame, TransactionPointer* own);
    bool dispatchTransaction(Frame* frame, TransactionPointer* own);
    bool dispatchReply(Frame* frame);
    bool dispatchRelease(const FrameHeader& header);
    /** The objects go after the lock: proxies take it when they go. */
    bool importLocked(const Frame& frame, std::vector<sp<IBinder>>* objects);
    Parcel parcelOf(Frame* frame, std::vector<sp<IBinder>> objects);
    sp<BpHwBinder> proxyOfLocked(uint64_t objectId);

    void serve(const TransactionPointer& transaction);
    void serveNow(const Transaction& transaction);
    void serveOneWayCalls();
    void answer(uint64_t callId, status_t status, const Parcel& reply);

    /** @param call stops reading before room in the socket is waited for */
    status_t send(FrameHeader header, const Parcel& parcel, PendingCall* call = nullptr);
    status_t exportLocked(const Parcel& parcel, std::vector<ObjectReference>* references);
    /** @param releases are sent with it */
    bool sendNow(const FrameHeader& header, const Parcel& parcel,
                 const std::vector<ObjectReference>& objects,
                 const std::vector<FrameHeader>& releases, PendingCall* call);
    void sendReleases();

    /** Ends the connection; logs why, if a reason is given, for the first time. False. */
    bool drop(const char* reason);
    bool dropLocked(const char* reason);
    void end();

    const ucred peer_;
    const std::shared_ptr<DescriptorAccount> account_;
    const std::function<void(const Connection*)> onEnd_;
    std::atomic<bool> alive_{true};
    uint64_t watchName_ = 0;  // of the socket, in the pool
    // Of the thread that reads.
    FrameReader reader_;
    DescriptorClaim readersClaim_;

    std::mutex sendMutex_;  // taken before mutex_, never while it is held
    std::mutex mutex_;      // guards everything below
    unique_fd socket_;      // closed with both mutexes held
    bool isBeingRead_ = true;
    /** The pool is told of whatever comes. */
    bool isWatched_ = false;
    /** There may be something that the pool was told of and did not read. */
    bool isMoreToRead_ = false;
    bool isDropLogged_ = false;
    uint64_t lastCallId_ = 0;
    std::map<uint64_t, PendingCall*> pendingCalls_;
    std::set<uint64_t> abandonedCalls_;  // whose replies may still come
    uint64_t lastObjectId_ = kRootObjectId;
    std::map<uint64_t, Export> exports_;
    std::map<const BHwBinder*, uint64_t> exportIds_;
    std::map<uint64_t, Import> imports_;
    std::vector<FrameHeader> releases_;  // to be sent
    bool isReleasingLater_ = false;
    std::deque<TransactionPointer> oneWayCalls_;
    bool isServingOneWayCalls_ = false;
    Backlog backlog_;
};

}  // namespace android::hardware::details
