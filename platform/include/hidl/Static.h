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
    void erase(const std::string& interfaceName) {
        const std::lock_guard lock(mutex_);
        constructors_.erase(interfaceName);
    }

  private:
    mutable std::mutex mutex_;
    std::map<std::string, Constructor> constructors_;
};

// Never destroyed: libraries with generated code take their entries out when they are
// unloaded, in any order.
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

/** Scheduling is not set for each service here: every service has the default. */
struct ServicePrioMap {
    SchedPrio get(const sp<hidl::base::V1_0::IBase>&, SchedPrio defaultPriority) const {
        return defaultPriority;
    }
};

/** Nor are security identifiers. */
struct ServiceSidMap {
    bool get(const sp<hidl::base::V1_0::IBase>&, bool defaultRequest) const {
        return defaultRequest;
    }
};

extern BnMap* const gBnMap;
extern const ServicePrioMap* const gServicePrioMap;
extern const ServiceSidMap* const gServiceSidMap;

}  // namespace android::hardware::details
