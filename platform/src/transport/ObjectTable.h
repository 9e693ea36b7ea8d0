// The objects that one connection has sent and received.
#pragma once

#include <hwbinder/Binder.h>
#include <hwbinder/BpHwBinder.h>
#include <hwbinder/Parcel.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "Mutex.h"
#include "transport/Frame.h"

namespace android::hardware::details {

/**
 * Each time an object is sent, its owner counts a reference. When the receiver destroys its proxy,
 * it releases as many references as it has received, so a reference that is in flight at that
 * moment stays counted. Releases are sent with the next message, or by Connection::sendReleases().
 *
 * Each side keeps at most kMaxObjectsHeld objects of the other: an owner sends no more, so a peer
 * that does has broken the protocol.
 *
 * Threading: every method may be called from any thread. No code of programs runs in here.
 */
class ObjectTable {
  public:
    static constexpr size_t kMaxObjectsHeld = 4096;
    /** Number of the root object, which a peer can call without having received it. */
    static constexpr uint64_t kRootId = 0;

    explicit ObjectTable(const sp<BHwBinder>& root) { exports_[kRootId].object = root; }

    /**
     * Counts the parcel's objects as sent.
     * @param self the connection; only its objects and those of this process can be sent
     * @param releases receives the queued releases, which the caller sends with the parcel
     * @return INVALID_OPERATION for an object of a third process, NO_MEMORY if the peer would hold
     * too many objects, DEAD_OBJECT after clear()
     */
    status_t send(const Parcel& parcel, const Connection& self,
                  std::vector<ObjectReference>* references, std::vector<FrameHeader>* releases);
    std::vector<FrameHeader> takeReleases();

    /** The objects of a message. @throw BrokenPeer if it names one that does not exist */
    std::vector<sp<IBinder>> receive(const std::vector<ObjectReference>& references,
                                     const std::shared_ptr<Connection>& self);
    /** This process's object of that number. @throw BrokenPeer if there is none */
    sp<BHwBinder> find(uint64_t objectId);

    /**
     * Subtracts references that the peer has released.
     * @return the object if these were its last references; its destructor is a program's code
     * @throw BrokenPeer if the peer does not hold them
     */
    sp<BHwBinder> takeBack(uint64_t objectId, uint64_t references);
    /**
     * Queues the release of a proxy that is being destroyed.
     * @return whether any release is queued
     */
    bool release(const BpHwBinder* proxy);
    bool hasReleases() const { return hasReleases_; }

    /**
     * Called after the peer's death: drops all references to and from the peer, and accepts no new
     * ones.
     */
    struct Remains {
        std::vector<sp<BHwBinder>> objects;
        std::vector<sp<BpHwBinder>> proxies;
    };
    Remains clear();

  private:
    struct Export {
        sp<BHwBinder> object;
        uint64_t referencesSent = 0;
    };
    struct Import {
        /** Null once the proxy is destroyed and its references wait to be released. */
        const BpHwBinder* address = nullptr;
        wp<BpHwBinder> proxy;
        uint64_t referencesReceived = 0;
        bool isInReleases = false;
    };

    sp<BpHwBinder> proxyOf(uint64_t objectId, const std::shared_ptr<Connection>& self)
        REQUIRES(mutex_);
    std::vector<FrameHeader> takeReleasesLocked() REQUIRES(mutex_);

    Mutex mutex_;
    uint64_t lastId_ GUARDED_BY(mutex_) = kRootId;
    std::map<uint64_t, Export> exports_ GUARDED_BY(mutex_);
    std::map<const BHwBinder*, uint64_t> exportIds_ GUARDED_BY(mutex_);
    std::map<uint64_t, Import> imports_ GUARDED_BY(mutex_);
    std::vector<uint64_t> releases_ GUARDED_BY(mutex_);  // object numbers of imports
    std::atomic<bool> hasReleases_{false};               // lets most messages skip the lock
    bool isCleared_ GUARDED_BY(mutex_) = false;
};

}  // namespace android::hardware::details
