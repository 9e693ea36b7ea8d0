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
 * A reference to an object is counted each time it is sent. The receiver gives all counts back when
 * it drops its proxy, so that a reference in flight at that moment is not lost. Releases wait for
 * the next message, or for sendReleases() of the connection.
 *
 * Each side keeps at most kMaxObjectsHeld objects of the other: an owner sends no more, so a peer
 * that does has broken the protocol.
 *
 * Threading: every method may be called from any thread. No code of programs runs in here.
 */
class ObjectTable {
  public:
    static constexpr size_t kMaxObjectsHeld = 4096;
    /** The object that every process offers to its peers without being asked. */
    static constexpr uint64_t kRootId = 0;

    explicit ObjectTable(const sp<BHwBinder>& root) { exports_[kRootId].object = root; }

    /**
     * Counts the parcel's objects as sent.
     * @param self the connection, whose objects and this process's can be sent
     * @param releases receives the queued releases, to be sent with the parcel
     * @return INVALID_OPERATION for an object of a third process, NO_MEMORY beyond the limit,
     * DEAD_OBJECT after clear()
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
     * Takes back references from the peer.
     * @return the object if these were its last references; its destructor is a program's code
     * @throw BrokenPeer if the peer does not hold them
     */
    sp<BHwBinder> takeBack(uint64_t objectId, uint64_t references);
    /**
     * Queues the release of a proxy that is being destroyed.
     * @return whether a release is queued
     */
    bool release(const BpHwBinder* proxy);
    bool hasReleases() const { return hasReleases_; }

    /** Drops the references of and to the peer, which is dead. No new ones are accepted. */
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
    std::vector<uint64_t> releases_ GUARDED_BY(mutex_);  // of imports
    std::atomic<bool> hasReleases_{false};               // most messages have nothing to do here
    bool isCleared_ GUARDED_BY(mutex_) = false;
};

}  // namespace android::hardware::details
