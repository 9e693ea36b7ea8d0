#define LOG_TAG "HidlTransport"

#include "transport/ObjectTable.h"

#include <log/log.h>

#include <algorithm>
#include <utility>

#include "transport/BrokenPeer.h"
#include "transport/Connection.h"

namespace android::hardware::details {

status_t ObjectTable::send(const Parcel& parcel, const Connection& self,
                           std::vector<ObjectReference>* references,
                           std::vector<FrameHeader>* releases) {
    if (parcel.objects().empty() && !hasReleases_) return OK;
    for (const sp<IBinder>& object : parcel.objects()) {
        const BpHwBinder* proxy = object->remoteBinder();
        if (proxy != nullptr && proxy->connection().get() != &self) {
            ALOGE("an object of process %d cannot be passed on to process %d",
                  proxy->connection()->peer().pid, self.peer().pid);
            return INVALID_OPERATION;
        }
    }
    const MutexLock lock(mutex_);
    if (isCleared_) return DEAD_OBJECT;
    // Checks the limit before counting anything: objects that are not sent must not be counted.
    const auto isNew = [this](const sp<IBinder>& object) REQUIRES(mutex_) {
        return object->localBinder() != nullptr && exportIds_.count(object->localBinder()) == 0;
    };
    const auto added =
        static_cast<size_t>(std::count_if(parcel.objects().begin(), parcel.objects().end(), isNew));
    if (added > 0 && exports_.size() + added > kMaxObjectsHeld) return NO_MEMORY;
    for (const sp<IBinder>& object : parcel.objects()) {
        if (const BpHwBinder* proxy = object->remoteBinder()) {
            references->push_back({proxy->objectId(), ObjectOwner::kReceiver});
            continue;
        }
        BHwBinder* const local = object->localBinder();
        const auto [known, isFirst] = exportIds_.try_emplace(local, lastId_ + 1);
        if (isFirst) exports_[++lastId_].object = local;
        ++exports_[known->second].referencesSent;
        references->push_back({known->second, ObjectOwner::kSender});
    }
    *releases = takeReleasesLocked();
    return OK;
}

std::vector<FrameHeader> ObjectTable::takeReleases() {
    const MutexLock lock(mutex_);
    return takeReleasesLocked();
}

std::vector<FrameHeader> ObjectTable::takeReleasesLocked() {
    std::vector<FrameHeader> headers;
    hasReleases_ = false;
    for (const uint64_t objectId : std::exchange(releases_, {})) {
        const auto import = imports_.find(objectId);
        import->second.isInReleases = false;
        if (import->second.address != nullptr) continue;  // the object was received again
        FrameHeader& header = headers.emplace_back();
        header.kind = FrameKind::kRelease;
        header.objectId = objectId;
        header.givenBack = import->second.referencesReceived;
        imports_.erase(import);
    }
    return headers;
}

std::vector<sp<IBinder>> ObjectTable::receive(const std::vector<ObjectReference>& references,
                                              const std::shared_ptr<Connection>& self) {
    std::vector<sp<IBinder>> objects;
    if (references.empty()) return objects;
    // Declared after `objects`, so that it is unlocked first: destructors of proxies take the lock.
    const MutexLock lock(mutex_);
    for (const ObjectReference& reference : references) {
        const auto exported = exports_.find(reference.objectId);
        if (reference.owner == ObjectOwner::kReceiver && exported != exports_.end()) {
            objects.push_back(exported->second.object);
        } else if (reference.owner == ObjectOwner::kSender && reference.objectId != kRootId) {
            objects.push_back(proxyOf(reference.objectId, self));
        } else {
            throw BrokenPeer("a message names an object that does not exist");
        }
    }
    if (imports_.size() > kMaxObjectsHeld) throw BrokenPeer("it sends too many objects");
    return objects;
}

sp<BpHwBinder> ObjectTable::proxyOf(uint64_t objectId, const std::shared_ptr<Connection>& self) {
    Import& import = imports_[objectId];
    ++import.referencesReceived;
    sp<BpHwBinder> proxy = import.proxy.promote();
    if (proxy == nullptr) {
        // If the old proxy is just being destroyed, the new one takes over its references.
        proxy = new BpHwBinder(self, objectId);
        import.address = proxy.get();
        import.proxy = proxy;
    }
    return proxy;
}

sp<BHwBinder> ObjectTable::find(uint64_t objectId) {
    const MutexLock lock(mutex_);
    const auto found = exports_.find(objectId);
    if (found == exports_.end()) throw BrokenPeer("a call is meant for no object");
    return found->second.object;
}

sp<BHwBinder> ObjectTable::takeBack(uint64_t objectId, uint64_t references) {
    const MutexLock lock(mutex_);
    const auto found = exports_.find(objectId);
    if (found == exports_.end() || references == 0 || references > found->second.referencesSent) {
        throw BrokenPeer("it gives back references that it does not have");
    }
    found->second.referencesSent -= references;
    if (found->second.referencesSent > 0) return nullptr;
    sp<BHwBinder> object = std::move(found->second.object);
    exportIds_.erase(object.get());
    exports_.erase(found);
    return object;
}

bool ObjectTable::release(const BpHwBinder* proxy) {
    const MutexLock lock(mutex_);
    const auto import = imports_.find(proxy->objectId());
    if (import == imports_.end() || import->second.address != proxy) return false;
    import->second.address = nullptr;
    if (!std::exchange(import->second.isInReleases, true)) releases_.push_back(proxy->objectId());
    hasReleases_ = true;
    return true;
}

ObjectTable::Remains ObjectTable::clear() {
    Remains remains;
    const MutexLock lock(mutex_);
    for (auto& [objectId, exported] : exports_) {
        remains.objects.push_back(std::move(exported.object));
    }
    for (const auto& [objectId, import] : imports_) {
        sp<BpHwBinder> proxy = import.proxy.promote();
        if (proxy != nullptr) remains.proxies.push_back(std::move(proxy));
    }
    isCleared_ = true;
    exports_.clear();
    exportIds_.clear();
    imports_.clear();
    releases_.clear();
    return remains;
}

}  // namespace android::hardware::details
