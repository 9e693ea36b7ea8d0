// Pieces of the wire types and tags of the generated classes.
#pragma once

#include <android-base/macros.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace android::hardware::details {

/** Tags by which templates tell interfaces, proxies, stubs and passthrough wrappers apart. */
struct i_tag {};
struct bphw_tag {};
struct bnhw_tag {};
struct bs_tag {};

/** A pointer of 8 bytes on every architecture. */
template <typename T>
class hidl_pointer {
  public:
    hidl_pointer() : pointer_(nullptr) {}
    hidl_pointer(T* pointer) : pointer_(pointer) {}  // NOLINT: implicit as published
    operator T*() const { return pointer_; }         // NOLINT: implicit as published
    T* operator->() const { return pointer_; }

  private:
    static_assert(sizeof(T*) == 8, "the wire types are laid out for 64 bits");
    T* pointer_;
};

}  // namespace android::hardware::details

namespace android::hardware {

enum InstrumentationEvent {
    SERVER_API_ENTRY = 0,
    SERVER_API_EXIT,
    CLIENT_API_ENTRY,
    CLIENT_API_EXIT,
    SYNC_CALLBACK_ENTRY,
    SYNC_CALLBACK_EXIT,
    ASYNC_CALLBACK_ENTRY,
    ASYNC_CALLBACK_EXIT,
    PASSTHROUGH_ENTRY,
    PASSTHROUGH_EXIT,
};

namespace details {

/** Instrumentation is not to be had on a workstation. */
struct HidlInstrumentor {
    HidlInstrumentor(const std::string& /*package*/, const std::string& /*interface*/) {}
    void configureInstrumentation(bool /*log*/ = true) {}
};

}  // namespace details
}  // namespace android::hardware
