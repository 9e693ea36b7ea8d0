#include <hidl/Static.h>

#include <functional>
#include <mutex>

namespace android::hardware::details {

ConstructorMap<IBinder>& getBnConstructorMap() {
    static auto* const map = new ConstructorMap<IBinder>;
    return *map;
}

ConstructorMap<hidl::base::V1_0::IBase>& getBsConstructorMap() {
    static auto* const map = new ConstructorMap<hidl::base::V1_0::IBase>;
    return *map;
}

BnMap* const gBnMap = new BnMap;
const DefaultForAll<SchedPrio>* const gServicePrioMap = new DefaultForAll<SchedPrio>;
const DefaultForAll<bool>* const gServiceSidMap = new DefaultForAll<bool>;

sp<BHwBinder> BnMap::getOrCreate(const hidl::base::V1_0::IBase* object,
                                 const std::function<sp<IBinder>()>& create) {
    const std::lock_guard lock(mutex_);
    const auto found = binders_.find(object);
    sp<BHwBinder> binder = found == binders_.end() ? nullptr : found->second.binder.promote();
    if (binder != nullptr) return binder;
    const sp<IBinder> created = create();
    if (created == nullptr) return nullptr;
    binder = created->localBinder();
    binders_[object] = {binder.get(), binder};
    return binder;
}

void BnMap::eraseIfEqual(const hidl::base::V1_0::IBase* object, const BHwBinder* binder) {
    const std::lock_guard lock(mutex_);
    const auto found = binders_.find(object);
    if (found != binders_.end() && found->second.address == binder) binders_.erase(found);
}

}  // namespace android::hardware::details
