// The tables that generated code fills and asks.
#pragma once

#include <hwbinder/Binder.h>

#include <sched.h>

#include <functional>
#include <map>
#include <mutex>
#include <string>

// Linux calls it so; the C library does not.
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
     * Called by the destructors of generated code, which run at the process's end, while HIDL
     * threads still serve calls. Leaves the entry: the code that it refers to is there until then,
     * since libraries with generated code are linked not to be unloaded.
     */
    void erase(const std::string& /*interfaceName*/) {}

  private:
    mutable std::mutex mutex_;
    std::map<std::string, Constructor> constructors_;
};

// Never destroyed: libraries with generated code still ask to take their entries out, in any order.
ConstructorMap<IBinder>& getBnConstructorMap();
ConstructorMap<hidl::base::V1_0::IBase>& getBsConstructorMap();

/** The one binder of each local object that has been sent to another process. */
class BnMap {
  public:
    /** The object's binder, made by `create` if there is none. */
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

/** What could be set for each service on a device; every service has the default here. */
template <typename Setting>
struct DefaultForAll {
    Setting get(const sp<hidl::base::V1_0::IBase>&, Setting standard) const { return standard; }
};

extern BnMap* const gBnMap;
extern const DefaultForAll<SchedPrio>* const gServicePrioMap;
extern const DefaultForAll<bool>* const gServiceSidMap;

}  // namespace android::hardware::details
