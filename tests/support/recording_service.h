// What fake services have in common: they write their calls down and answer as the test chooses.
#pragma once

#include <string>
#include <vector>

#include "support/mortal_object.h"
#include "support/service_end.h"

namespace TestSupport {

using android::sp;
using android::hardware::hidl_array;
using android::hardware::hidl_vec;
using android::hardware::MQDescriptorSync;
using android::hardware::Return;

template <typename HalInterface>
class RecordingService : public MortalObject<HalInterface> {
  public:
    using Interface = HalInterface;
    using Client = const sp<Hidl::ISensorClient>&;
    using Command = Hidl::StreamCommand;
    using Config = Hidl::FmqConfig;
    template <typename Record>
    using Queue = MQDescriptorSync<Record>;

    /// Method and arguments of each call that does not ask for values, as the HAL package prints
    /// them.
    std::vector<std::string> calls;
    /// What control calls answer.
    Hidl::Result result = Hidl::Result::SUCCESS;
    /// What commands answer, and the flags that come with values.
    bool succeeds = true;
    /// False for a service that breaks the rules: it returns without its callback being called.
    bool callsBack = true;
    bool transportFails = false;

  protected:
    template <typename Answer>
    Return<Answer> answer(const Answer& value) const {
        return transportFails ? Return<Answer>(deadObject()) : Return<Answer>(value);
    }
    /// To be called with the method's arguments.
    template <typename Answer>
    auto record(const char* method, Answer value) {
        return [this, method, value](const auto&... arguments) {
            using android::hardware::toString;
            std::string call = method;
            ((call += " " + toString(arguments)), ...);
            calls.push_back(call);
            return answer(value);
        };
    }
    /// To be called with the values.
    template <typename Callback>
    auto deliver(const Callback& callback) {
        return [this, &callback](const auto&... values) -> Return<void> {
            if (transportFails) return deadObject();
            if (callsBack) callback(values...);
            return android::hardware::Void();
        };
    }
    static android::hardware::Status deadObject() {
        return android::hardware::Status::fromStatusT(android::DEAD_OBJECT);
    }
};

// Methods of a fake, by what they return. Parameters, arguments and values stand in parentheses.
#define FAKE_COMMAND(method, parameters, arguments) \
    Return<bool> method parameters override {       \
        return record(#method, succeeds) arguments; \
    }
#define FAKE_CONTROL(method, parameters, arguments)   \
    Return<Hidl::Result> method parameters override { \
        return record(#method, result) arguments;     \
    }
#define FAKE_GETTER(Type, method, parameters, value) \
    Return<Type> method parameters override {        \
        return answer<Type>(value);                  \
    }
#define FAKE_QUERY(method, parameters, values) \
    Return<void> method parameters override {  \
        return deliver(callback) values;       \
    }
#define FAKE_VOID(method, parameters, arguments)                 \
    Return<void> method parameters override {                    \
        return deliver([&] { record(#method, 0) arguments; })(); \
    }
/// The two methods of a stream. Recorded of a command: whether it comes from the client that
/// prepared the stream.
#define FAKE_STREAM(Name, Record, end)                                                          \
    Return<Hidl::Result> prepare##Name##Stream(const Queue<Hidl::Record>& queue, Client client, \
                                               const Config& config) override {                 \
        end.accept(queue, client, config);                                                      \
        return answer(result);                                                                  \
    }                                                                                           \
    FAKE_CONTROL(control##Name##Stream, (Client c, Command m), (c == end.client, m))            \
    ServiceEnd<Hidl::Record> end;

}  // namespace TestSupport
