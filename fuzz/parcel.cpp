// Calls and replies of any bytes, read by the HAL's generated code: a stub serves a call by making
// it again, through the interface's proxy, on a peer whose reply is the input's too. What the
// library serves is served by the library.
//
// An input is the call's items and the reply's, followed by the length of the call's (four bytes),
// the numbers of descriptors of the reply and of the call, the flags (one byte each), and the code
// (four bytes).
#include <hidl/HidlTransportSupport.h>
#include <sys/eventfd.h>
#include <vendor/zelvan/hardware/sensors/1.0/methods.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include "camera/frame_set_config_update_callback.h"
#include "controller/convert.h"
#include "environment/tamb_stream.h"
#include "foundation/sensor_client.h"
#include "target.h"

namespace {

using namespace android::hardware;
using namespace Vek::Sensors;
using android::sp;
using Bytes = std::vector<uint8_t>;

const int descriptor = eventfd(0, EFD_CLOEXEC);

/// A received parcel, with one object of the other process and one of this process.
Parcel received(Bytes items, size_t descriptors) {
    class Remote : public IBinder {
        android::status_t transact(uint32_t, const Parcel&, Parcel*, uint32_t,
                                   TransactCallback) override {
            return android::DEAD_OBJECT;
        }
    };
    std::vector<android::base::unique_fd> duplicates;
    for (size_t i = 0; i < descriptors; ++i) {
        duplicates.emplace_back(dup(descriptor));
    }
    static const sp<IBinder> local =
        toBinder(sp<Hidl::ISensorClient>(new HidlWrapper::SensorClient("local")));
    const auto onMalformed = [reports = 0]() mutable {
        VEK_ALWAYS_ASSERT(++reports == 1 && "a parcel is rejected once");
    };
    return Parcel(std::move(items), {new Remote, local}, std::move(duplicates), onMalformed);
}

class Peer : public IBinder {
  public:
    android::status_t transact(uint32_t, const Parcel& data, Parcel* answer, uint32_t,
                               TransactCallback) override {
        VEK_ALWAYS_ASSERT(data.writeError() == android::OK);
        objects = data.objects();
        if (answer != nullptr) {
            *answer = received(reply, replyDescriptors);
        }
        return android::OK;
    }

    Bytes reply;
    size_t replyDescriptors = 0;
    /// Of the last call.
    std::vector<sp<IBinder>> objects;
};

class Objects {
  public:
    Objects() {
        forward(HalTable::Interfaces{});
        // Replaces some stubs with the library's objects.
        serve<Hidl::ISensorClient>(new HidlWrapper::SensorClient("client"));
        serve<Hidl::IFrameConfigCallback>(
            new HidlWrapper::FrameSetConfigUpdateCallback([](const auto&) {}));
        serve<Hidl::IProgressUpdateCallback>(Convert::intoHidl({[](float) {}, {}, 0}).callback);
        // This object is only passed to the service, so take it from the call.
        peer->reply = Bytes(sizeof(int32_t) + sizeof(Hidl::Result));
        HidlWrapper::TambStream stream{sp<Hidl::ITambril>(new Hidl::BpHwTambril(peer))};
        stream.registerKivraRpcClient("CMS", [](const auto&) {});
        stubs_[Hidl::ITambrilCallback::descriptor] = peer->objects.at(0);
        // Methods of the base interface are tested through one of the stubs.
        stubs_[android::hidl::base::V1_0::IBase::descriptor] = stubs_[Hidl::IImu::descriptor];
    }

    /// Null if there is none.
    sp<IBinder> find(const std::string& interface) const {
        const auto found = stubs_.find(interface);
        return found == stubs_.end() ? nullptr : found->second;
    }

    const sp<Peer> peer = new Peer;

  private:
    template <typename... Interfaces>
    void forward(HalTable::TypeList<Interfaces...> /*interfaces*/) {
        const auto add = [this](const auto& interface) {
            const char* const name = std::decay_t<decltype(*interface)>::descriptor;
            stubs_[name] = details::getBnConstructorMap().get(name)(interface.get());
        };
        (add(sp<Interfaces>(new typename HalTable::ProxyOf<Interfaces>::Type(peer))), ...);
    }
    template <typename Interface>
    void serve(const sp<Interface>& object) {
        stubs_[Interface::descriptor] = toBinder(object);
    }

    std::map<std::string, sp<IBinder>> stubs_;
};

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const Objects objects;
    FuzzedDataProvider input{data, size};
    const auto code = input.ConsumeIntegral<uint32_t>();
    const auto flags = input.ConsumeIntegral<uint8_t>();
    const auto callDescriptors = input.ConsumeIntegral<uint8_t>();
    objects.peer->replyDescriptors = input.ConsumeIntegral<uint8_t>();
    const Bytes call = input.ConsumeBytes<uint8_t>(input.ConsumeIntegral<uint32_t>());
    objects.peer->reply = input.ConsumeRemainingBytes<uint8_t>();
    // A call begins with the name of its interface.
    const std::string interface(call.begin(), std::find(call.begin(), call.end(), 0));
    const sp<IBinder> target = objects.find(interface);
    if (target == nullptr) {
        return 0;
    }
    const Fuzz::LeakCheck leaks;
    // Services must not end the process, but these forward calls and do so if their peer fails.
    Fuzz::mayBeFatal({"Failed HIDL call: "}, [&] {
        Parcel reply;
        target->transact(code, received(call, callDescriptors), &reply, flags, [](Parcel&) {});
    });
    return 0;
}
