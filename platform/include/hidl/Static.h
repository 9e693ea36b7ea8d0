// Tables in which generated code registers and looks up its constructors.
#pragma once

#include <hwbinder/Binder.h>

#include <sched.h>

#include <functional>
#include <map>
#include <mutex>
#include <string>

// The kernel's name, which the C library does not define.
#ifndef SCHED_NORMAL
#define SCHED_NORMAL SCHED_OTHER
#endif

namespace android::hidl::base::V1_0 {
struct IBase;
}

namespace android::hardware::details {

/** Constructors of generated wrappers, by interface name. */
template <typename Wrapper>
class ConstructorMap {
  public:
    using Constructor = std::function<sp<Wrapper>(void* implementation)>;

    void set(const std::string& interfaceName, Constructor constructor) {
        const std::lock_guard lock(mutex_);
        constructors_[interfaceName] = std::move(constructor);
    }
    /** Empty if the package of the interface is not loaded. */
    Constructor get(const std::string& interfaceName) const {
        const std::lock_guard lock(mutex_);
        const auto found = constructors_.find(interfaceName);
        return found == constructors_.end() ? Constructor() : found->second;
    }
    /**
     * Does nothing. Destructors of generated code call it at the process's end, while HIDL threads
     * still serve calls. The entry's code stays valid until then, because libraries with generated
     * code are never unloaded (they are linked with -z nodelete).
     */
    void erase(const std::string& /*interfaceName*/) {}

  private:
    mutable std::mutex mutex_;
    std::map<std::string, Constructor> constructors_;
};

// Never destroyed: at the process's end, libraries with generated code call erase() in any order.
ConstructorMap<IBinder>& getBnConstructorMap();
ConstructorMap<hidl::base::V1_0::IBase>& getBsConstructorMap();

/** Maps each local object that was sent to another process to its binder. */
class BnMap {
  public:
    /** Returns the object's binder; calls `create` if it has none yet. */
    sp<BHwBinder> getOrCreate(const hidl::base::V1_0::IBase* object,
                              const std::function<sp<IBinder>()>& create);
    void eraseIfEqual(const hidl::base::V1_0::IBase* object, const BHwBinder* binder);

  private:
    struct Entry {
        const BHwBinder* address;
        wp<BHwBinder> binder;
    };
    std::mutex mutex_;
    std::map<const hidl::base::V1_0::IBase*, Entry> binders_;
};

struct SchedPrio {
    int sched_policy;
    int prio;
};

/** Per-service settings of the device's runtime. Here every service has the defaults. */
template <typename Setting>
struct DefaultForAll {
    Setting get(const sp<hidl::base::V1_0::IBase>&, Setting standard) const { return standard; }
};

extern BnMap* const gBnMap;
extern const DefaultForAll<SchedPrio>* const gServicePrioMap;
extern const DefaultForAll<bool>* const gServiceSidMap;

}  // namespace android::hardware::details
