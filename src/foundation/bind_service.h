// Binds an API object to the service that it wraps.
#pragma once

#include <utils/StrongPointer.h>

#include <memory>
#include <string>

namespace Vek::Sensors::HidlWrapper {

/// @return a new `Object` for the running instance "default" of `Interface`; an empty pointer if
/// there is none.
template <typename Object, typename Interface>
std::unique_ptr<Object> createForDefaultService() {
    const android::sp<Interface> service = Interface::getService(std::string{"default"}, false);
    if (service == nullptr) {
        return nullptr;
    }
    return std::make_unique<Object>(service);
}

}  // namespace Vek::Sensors::HidlWrapper
