// Base classes of generated proxies.
#pragma once

#include <hwbinder/IBinder.h>

namespace android::hardware {

/** The untyped side of a generated proxy. */
class IInterface : public virtual RefBase {
  public:
    static sp<IBinder> asBinder(const IInterface* interface) {
        return interface == nullptr ? nullptr : interface->remote();
    }

  protected:
    virtual IBinder* remote() const = 0;
};

/** Base of the generated proxy of INTERFACE. */
template <typename INTERFACE>
class BpInterface : public INTERFACE, public IInterface {
  public:
    explicit BpInterface(const sp<IBinder>& remote) : remote_(remote) {}

  protected:
    IBinder* remote() const override { return remote_.get(); }

  private:
    const sp<IBinder> remote_;
};

}  // namespace android::hardware
