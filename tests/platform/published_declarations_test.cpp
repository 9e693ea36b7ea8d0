// The stand-in declares what src/ and tools/ use as the device's runtime publishes it, so that what
// compiles here compiles there. Where Android 10 to 13 differ, the strictest of them is held: a
// member that is const in some releases only is not const here. Generated headers need no check:
// hidl-gen is the device's own.
#include <android/hidl/base/1.0/IBase.h>
#include <android/log.h>
#include <cutils/ashmem.h>
#include <cutils/native_handle.h>
#include <fmq/EventFlag.h>
#include <fmq/MessageQueue.h>
#include <hidl/HidlSupport.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl/MQDescriptor.h>
#include <hidl/Status.h>
#include <hwbinder/IPCThreadState.h>
#include <log/log.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/StrongPointer.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using android::RefBase;
using android::sp;
using android::status_t;
using android::wp;
using android::hardware::EventFlag;
using android::hardware::GrantorDescriptor;
using android::hardware::hidl_array;
using android::hardware::hidl_death_recipient;
using android::hardware::hidl_handle;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::IPCThreadState;
using android::hardware::MQFlavor;
using android::hardware::Return;
using android::hardware::Status;
using android::hidl::base::V1_0::IBase;
using Triple = hidl_array<int, 3>;
using Descriptor = android::hardware::MQDescriptorSync<int>;
using Queue = android::hardware::MessageQueue<int, android::hardware::kSynchronizedReadWrite>;
using Region = Queue::MemRegion;
using Transaction = Queue::MemTransaction;

template <typename Signature, typename Function>
constexpr bool is(Function) {
    return std::is_same_v<Signature, Function>;
}

// Results of calls
static_assert(is<bool (android::hardware::details::return_status::*)() const>(&Return<int>::isOk));
static_assert(
    is<bool (android::hardware::details::return_status::*)() const>(&Return<int>::isDeadObject));
static_assert(is<std::string (android::hardware::details::return_status::*)() const>(
    &Return<int>::description));
static_assert(is<int (Return<int>::*)(int)>(&Return<int>::withDefault));
static_assert(is<Return<void> (*)()>(&android::hardware::Void));
static_assert(std::is_convertible_v<const Return<int>&, int> &&
              std::is_convertible_v<const Return<sp<IBase>>&, sp<IBase>>);
static_assert(!std::is_copy_constructible_v<Return<void>> &&
              !std::is_copy_assignable_v<Return<int>>);
static_assert(std::is_nothrow_move_constructible_v<Return<void>>);
static_assert(std::is_convertible_v<Status, Return<int>> &&
              std::is_convertible_v<int, Return<int>>);
static_assert(is<Status (*)(status_t)>(&Status::fromStatusT));
static_assert(is<status_t (Status::*)() const>(&Status::transactionError));
static_assert(is<Status (*)(int32_t, const char*)>(
    static_cast<Status (*)(int32_t, const char*)>(&Status::fromExceptionCode)));
static_assert(std::is_same_v<status_t, int32_t>);
static_assert(android::OK == 0 && android::NO_ERROR == 0 && android::DEAD_OBJECT == -EPIPE);

// Values
static_assert(is<void (hidl_handle::*)(native_handle_t*, bool)>(&hidl_handle::setTo));
static_assert(is<const native_handle_t* (hidl_handle::*)() const>(&hidl_handle::getNativeHandle));
static_assert(std::is_convertible_v<const native_handle_t*, hidl_handle> &&
              std::is_convertible_v<const hidl_handle&, const native_handle_t*>);
static_assert(std::is_copy_constructible_v<hidl_handle> &&
              std::is_nothrow_move_constructible_v<hidl_handle>);
static_assert(is<const char* (hidl_string::*)() const>(&hidl_string::c_str));
static_assert(is<size_t (hidl_string::*)() const>(&hidl_string::size));
static_assert(std::is_convertible_v<const char*, hidl_string> &&
              std::is_convertible_v<const std::string&, hidl_string>);
static_assert(std::is_convertible_v<const hidl_string&, std::string>);
static_assert(is<size_t (hidl_vec<int>::*)() const>(&hidl_vec<int>::size));
static_assert(is<void (hidl_vec<int>::*)(int*, size_t, bool)>(&hidl_vec<int>::setToExternal));
static_assert(is<void (hidl_vec<int>::*)(size_t)>(&hidl_vec<int>::resize));
static_assert(std::is_same_v<decltype(*std::declval<hidl_vec<int>&>().begin()), int&> &&
              std::is_same_v<decltype(*std::declval<const hidl_vec<int>&>().end()), const int&>);
static_assert(std::is_constructible_v<hidl_vec<int>, const int*, const int*>);
static_assert(std::is_convertible_v<const std::vector<int>&, hidl_vec<int>> &&
              std::is_convertible_v<const hidl_vec<int>&, std::vector<int>>);
static_assert(std::is_trivially_copyable_v<Triple>);
static_assert(std::is_convertible_v<const std::array<int, 3>&, Triple> &&
              std::is_convertible_v<const Triple&, std::array<int, 3>>);
static_assert(std::is_same_v<decltype(std::declval<const Triple&>().data()), const int*> &&
              std::is_same_v<decltype(std::declval<const Triple&>()[size_t{}]), const int&>);
static_assert(std::is_same_v<native_handle_t, native_handle> &&
              std::is_same_v<decltype(native_handle::numFds), int> &&
              std::is_same_v<decltype(std::declval<const native_handle&>().data[0]), const int&>);
static_assert(is<native_handle_t* (*)(int, int)>(&native_handle_create));
static_assert(is<int (*)(const char*, size_t)>(&ashmem_create_region));
static_assert(is<int (*)(int)>(&ashmem_valid) && is<int (*)(int)>(&ashmem_get_size_region));

// References and deaths
static_assert(is<sp<RefBase> (wp<RefBase>::*)() const>(&wp<RefBase>::promote));
static_assert(std::is_convertible_v<const sp<IBase>&, wp<RefBase>>);
static_assert(is<RefBase* (sp<RefBase>::*)() const>(&sp<RefBase>::get));
static_assert(is<RefBase* (sp<RefBase>::*)() const>(&sp<RefBase>::operator->));
static_assert(is<void (sp<RefBase>::*)()>(&sp<RefBase>::clear));
static_assert(std::is_convertible_v<const sp<IBase>&, sp<RefBase>> &&
              std::is_convertible_v<IBase*, sp<RefBase>> &&
              std::is_convertible_v<std::nullptr_t, sp<RefBase>>);
static_assert(std::is_constructible_v<bool, const sp<RefBase>&> &&
              !std::is_convertible_v<const sp<RefBase>&, bool>);
static_assert(std::is_assignable_v<sp<RefBase>&, IBase*>);
static_assert(std::is_same_v<decltype(std::declval<const sp<RefBase>&>() == nullptr), bool>);
static_assert(!std::is_copy_constructible_v<RefBase> && !std::is_copy_assignable_v<RefBase>);
static_assert(is<void (hidl_death_recipient::*)(uint64_t, const wp<IBase>&)>(
    &hidl_death_recipient::serviceDied));
static_assert(
    is<Return<bool> (IBase::*)(const sp<hidl_death_recipient>&, uint64_t)>(&IBase::linkToDeath));
static_assert(is<Return<bool> (IBase::*)(const sp<hidl_death_recipient>&)>(&IBase::unlinkToDeath));
static_assert(is<IPCThreadState* (*)()>(&IPCThreadState::self));
static_assert(is<void (IPCThreadState::*)()>(&IPCThreadState::flushCommands));
static_assert(is<void (*)(size_t, bool)>(&android::hardware::configureRpcThreadpool));

// Queues
static_assert(std::is_constructible_v<Descriptor, const Descriptor&> &&
              !std::is_convertible_v<const Descriptor&, Descriptor>);
static_assert(std::is_copy_assignable_v<Descriptor>);
static_assert(std::is_constructible_v<Descriptor, const std::vector<GrantorDescriptor>&,
                                      native_handle_t*, size_t>);
static_assert(Descriptor::READPTRPOS == 0 && Descriptor::WRITEPTRPOS == 1 &&
              Descriptor::DATAPTRPOS == 2 && Descriptor::EVFLAGWORDPOS == 3);
static_assert(std::is_same_v<std::underlying_type_t<MQFlavor>, uint32_t> &&
              android::hardware::kSynchronizedReadWrite == 1);
static_assert(std::is_same_v<Queue::Descriptor, Descriptor>);
static_assert(is<size_t (Descriptor::*)() const>(&Descriptor::getSize));
static_assert(is<size_t (Descriptor::*)() const>(&Descriptor::getQuantum));
static_assert(is<int32_t (Descriptor::*)() const>(&Descriptor::getFlags));
static_assert(
    std::is_same_v<decltype(std::declval<const Descriptor&>().handle()), const native_handle_t*>);
static_assert(std::is_same_v<decltype(std::declval<const Descriptor&>().grantors()),
                             const hidl_vec<GrantorDescriptor>&>);
static_assert(std::is_same_v<decltype(GrantorDescriptor::offset), uint32_t> &&
              std::is_same_v<decltype(GrantorDescriptor::fdIndex), uint32_t> &&
              std::is_same_v<decltype(GrantorDescriptor::extent), uint64_t>);
static_assert(std::is_constructible_v<Queue, const Descriptor&, bool>);
static_assert(std::is_constructible_v<Queue, size_t> && !std::is_convertible_v<size_t, Queue>);
static_assert(!std::is_copy_constructible_v<Queue> && !std::is_copy_assignable_v<Queue>);
static_assert(is<bool (Queue::*)() const>(&Queue::isValid));
static_assert(is<const Descriptor* (Queue::*)() const>(&Queue::getDesc));
static_assert(is<size_t (Queue::*)() const>(&Queue::availableToRead));
static_assert(is<size_t (Queue::*)() const>(&Queue::availableToWrite));
static_assert(is<size_t (Queue::*)() const>(&Queue::getQuantumCount));
static_assert(
    std::is_same_v<decltype(std::declval<Queue&>().read(std::declval<int*>())), bool> &&
    std::is_same_v<decltype(std::declval<Queue&>().write(std::declval<const int*>(), 1)), bool>);
static_assert(is<bool (Queue::*)(size_t, Transaction*) const>(&Queue::beginRead));
static_assert(is<bool (Queue::*)(size_t, Transaction*) const>(&Queue::beginWrite));
static_assert(is<bool (Queue::*)(size_t)>(&Queue::commitRead));
static_assert(is<bool (Queue::*)(size_t)>(&Queue::commitWrite));
static_assert(is<const Region& (Transaction::*)() const>(&Transaction::getFirstRegion));
static_assert(is<const Region& (Transaction::*)() const>(&Transaction::getSecondRegion));
static_assert(is<bool (Transaction::*)(const int*, size_t, size_t)>(&Transaction::copyTo));
static_assert(is<int* (Region::*)() const>(&Region::getAddress));
static_assert(is<size_t (Region::*)() const>(&Region::getLength));

// Event flags. Of a descriptor, none can be made since Android 13.
static_assert(is<status_t (*)(std::atomic<uint32_t>*, EventFlag**)>(
    static_cast<status_t (*)(std::atomic<uint32_t>*, EventFlag**)>(&EventFlag::createEventFlag)));
static_assert(is<status_t (*)(EventFlag**)>(&EventFlag::deleteEventFlag));
static_assert(is<status_t (EventFlag::*)(uint32_t)>(&EventFlag::wake));
static_assert(is<status_t (EventFlag::*)(uint32_t, uint32_t*, int64_t, bool)>(&EventFlag::wait));

// The log, but for the fatal assertion, which no published header declares.
static_assert(is<int (*)(int, const char*, const char*)>(&__android_log_write));
static_assert(is<int (*)(int, int, const char*, const char*, ...)>(&__android_log_buf_print));
static_assert(ANDROID_LOG_INFO == 4 && ANDROID_LOG_WARN == 5 && ANDROID_LOG_ERROR == 6 &&
              ANDROID_LOG_FATAL == 7);

#ifndef MORIAK_HEADERS_OF_ANDROID_10
// What sensorctl uses of it: there since Android 11.
static_assert(std::is_same_v<__android_logger_function, void (*)(const __android_log_message*)>);
static_assert(is<void (*)(__android_logger_function)>(&__android_log_set_logger));
static_assert(is<void (*)(const __android_log_message*)>(&__android_log_stderr_logger));
static_assert(std::is_same_v<decltype(__android_log_message::priority), int32_t> &&
              std::is_same_v<decltype(__android_log_message::tag), const char*> &&
              std::is_same_v<decltype(__android_log_message::message), const char*>);
#endif

}  // namespace
