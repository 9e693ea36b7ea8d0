// Destroys objects and their counts.
#include <utils/RefBase.h>

#include <atomic>

namespace android {

void RefBase::weakref_type::decWeak(const void* /*id*/) {
    if (weak_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

RefBase::~RefBase() {
    // If the object never had a strong reference, this prevents its promotion from now on.
    refs_->strong_.store(0, std::memory_order_relaxed);
    refs_->decWeak(this);
}

void RefBase::decStrong(const void* /*id*/) const {
    if (refs_->strong_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

}  // namespace android
