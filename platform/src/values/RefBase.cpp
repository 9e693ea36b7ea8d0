// Counting of references.
#include <utils/RefBase.h>

namespace android {

void RefBase::weakref_type::incWeak(const void* /*id*/) {
    weak_.fetch_add(1, std::memory_order_relaxed);
}

void RefBase::weakref_type::decWeak(const void* /*id*/) {
    if (weak_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

bool RefBase::weakref_type::attemptIncStrong(const void* /*id*/) {
    int32_t count = strong_.load(std::memory_order_relaxed);
    while (count > 0) {
        if (strong_.compare_exchange_weak(count, count + 1, std::memory_order_acquire,
                                          std::memory_order_relaxed)) {
            return true;
        }
    }
    return false;
}

RefBase::RefBase() : refs_(new weakref_type) {}

RefBase::~RefBase() {
    refs_->decWeak(this);
}

void RefBase::incStrong(const void* /*id*/) const {
    if (refs_->strong_.fetch_add(1, std::memory_order_relaxed) == 0) {
        const_cast<RefBase*>(this)->onFirstRef();
    }
}

void RefBase::decStrong(const void* id) const {
    if (refs_->strong_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        const_cast<RefBase*>(this)->onLastStrongRef(id);
        delete this;
    }
}

int32_t RefBase::getStrongCount() const {
    return refs_->strong_.load(std::memory_order_relaxed);
}

RefBase::weakref_type* RefBase::createWeak(const void* id) const {
    refs_->incWeak(id);
    return refs_;
}

void RefBase::onFirstRef() {}
void RefBase::onLastStrongRef(const void* /*id*/) {}

}  // namespace android
