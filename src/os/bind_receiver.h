// Binds a reference-counted object to one of its methods.
#pragma once

#include <utils/StrongPointer.h>

#include <utility>

namespace Vek::OS {

/// A callable that keeps a strong reference to the receiver and forwards its arguments to the
/// method.
template <typename Receiver, typename Return, typename... Arguments>
class BindReceiver {
  public:
    BindReceiver(android::sp<Receiver> receiver, Return (Receiver::*method)(Arguments...))
        : receiver_(std::move(receiver)), method_(method) {}

    Return operator()(Arguments... arguments) const {
        return (receiver_.get()->*method_)(std::forward<Arguments>(arguments)...);
    }

  private:
    android::sp<Receiver> receiver_;
    Return (Receiver::*method_)(Arguments...);
};

}  // namespace Vek::OS
