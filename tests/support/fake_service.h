// Services in the test's own process, which record their calls and answer as the test chooses.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/methods.h>

#include <any>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>
#include <type_traits>
#include <typeindex>
#include <utility>
#include <vector>

#include "support/mortal_object.h"
#include "support/service_end.h"

namespace TestSupport {

using android::sp;
using android::hardware::hidl_array;
using android::hardware::hidl_handle;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::MQDescriptorSync;
using android::hardware::Return;
using android::hardware::Void;

/// What a fake of any interface has been asked, and how it answers.
struct FakeAnswers {
    /// Method and arguments of each call, as the HAL package prints them, but for those of methods
    /// that begin with "get" or "prepare". In place of a client stands whether it is the one that
    /// it should be; other objects are left out.
    std::vector<std::string> calls;
    Hidl::Result result = Hidl::Result::SUCCESS;
    /// What commands answer, and the flags that come with values.
    bool succeeds = true;
    /// False for a service that breaks the rules: it returns without its callback being called.
    bool callsBack = true;
    bool transportFails = false;
};

/// Implements every call of a fake. By default a call returns the result above, and values that are
/// zero or empty.
///
/// Threading: calls may come from any thread; the rest is the test's.
template <typename HalInterface>
class FakeService : public MortalObject<HalInterface>, public FakeAnswers {
  public:
    using Interface = HalInterface;
    using Client = const sp<Hidl::ISensorClient>&;
    using Command = Hidl::StreamCommand;
    using Config = Hidl::FmqConfig;
    template <typename Record>
    using Queue = MQDescriptorSync<Record>;

    /// Has the method answer with these values besides its result.
    template <auto method, typename... Values>
    void returns(Values... values) {
        using Answer = HalTable::AnswerOf<method>;
        values_[HalTable::kMethodName<method>] = std::function<void(Answer&)>{
            [values...](Answer& answer) { ((std::get<Values>(answer) = values), ...); }};
    }

    /// Has the method do this, once it is written down.
    template <auto method, typename Function>
    void on(Function function) {
        using HalFunction = typename HalTable::Signature<decltype(method)>::Function;
        functions_[HalTable::kMethodName<method>] = HalFunction{std::move(function)};
    }

    /// Of the stream with these records; made by the first look at it.
    template <typename Record>
    ServiceEnd<Record>& end() {
        std::shared_ptr<void>& end = ends_[typeid(Record)];
        end = end == nullptr ? std::make_shared<ServiceEnd<Record>>() : end;
        return *static_cast<ServiceEnd<Record>*>(end.get());
    }

    /// The expected client of all calls that name one. If it is null, stream commands must name the
    /// client that prepared their stream, and other calls the client of the first call.
    sp<Hidl::ISensorClient> client;

  protected:
    template <auto method, typename Proceed, typename... Arguments>
    auto onCall(const Proceed& /*proceed*/, Arguments&... arguments)
        -> std::invoke_result_t<Proceed, Arguments&...> {
        using Answered = std::invoke_result_t<Proceed, Arguments&...>;
        const std::string fullName = HalTable::kMethodName<method>;
        accept(arguments...);
        writeDown(fullName.substr(fullName.find('.') + 1), arguments...);
        if (transportFails) {
            return Answered(android::hardware::Status::fromStatusT(android::DEAD_OBJECT));
        }
        const auto function = functions_.find(fullName);
        if (function != functions_.end()) {
            using Function = typename HalTable::Signature<decltype(method)>::Function;
            return std::any_cast<const Function&>(function->second)(arguments...);
        }
        HalTable::AnswerOf<method> answer{};
        std::apply([this](auto&... value) { (this->setResult(&value), ...); }, answer);
        const auto values = values_.find(fullName);
        if (values != values_.end()) {
            using Setter = std::function<void(HalTable::AnswerOf<method>&)>;
            std::any_cast<const Setter&>(values->second)(answer);
        }
        return give<Answered>(answer, arguments...);
    }

  private:
    template <typename Answered, typename Answer, typename... Arguments>
    Answered give(const Answer& answer, Arguments&... arguments) const {
        if constexpr (!std::is_same_v<Answered, Return<void>>) {
            return std::get<0>(answer);
        } else {
            if constexpr (std::tuple_size_v < Answer >> 0) {
                if (callsBack) {
                    std::apply(std::get<sizeof...(arguments) - 1>(std::tie(arguments...)), answer);
                }
            }
            return Void();
        }
    }

    void setResult(Hidl::Result* value) const { *value = result; }
    void setResult(bool* value) const { *value = succeeds; }
    template <typename Value>
    void setResult(Value* /*value*/) const {}

    template <typename Record, typename... Rest>
    void accept(const Queue<Record>& queue, Client streamClient, const Config& config,
                const Rest&... /*rest*/) {
        end<Record>().accept(queue, streamClient, config);
    }
    template <typename Record, typename... Rest>
    void accept(Client streamClient, const Queue<Record>& queue, const Config& config,
                const Rest&... /*rest*/) {
        end<Record>().accept(queue, streamClient, config);
    }
    template <typename... Other>
    void accept(const Other&... /*arguments*/) {}

    template <typename... Arguments>
    void writeDown(const std::string& method, const Arguments&... arguments) {
        const std::lock_guard lock{mutex_};
        if (method.rfind("prepare", 0) == 0) {
            (prepareFor(method.substr(std::string("prepare").size()), arguments), ...);
        } else if (method.rfind("get", 0) != 0) {
            std::string call = method;
            ((call += print(method, arguments)), ...);
            calls.push_back(call);
        }
    }

    void prepareFor(const std::string& stream, Client streamClient) {
        preparers_[stream] = streamClient;
    }
    template <typename Other>
    void prepareFor(const std::string& /*stream*/, const Other& /*argument*/) {}

    std::string print(const std::string& method, Client caller) {
        const std::string control = "control";
        const bool isCommand = method.rfind(control, 0) == 0;
        if (!isCommand && firstCaller_ == nullptr) {
            firstCaller_ = caller;
        }
        const sp<Hidl::ISensorClient>& expected = client != nullptr ? client
                                                  : isCommand
                                                      ? preparers_[method.substr(control.size())]
                                                      : firstCaller_;
        return caller != nullptr && caller == expected ? " true" : " false";
    }
    template <typename Other>
    std::string print(const std::string& /*method*/, const Other& value) {
        using android::hardware::toString;
        if constexpr (kIsPrinted<Other>) {
            return " " + toString(value);
        }
        return "";
    }
    template <typename Value>
    static constexpr bool kIsPrinted = true;
    template <typename Object>
    static constexpr bool kIsPrinted<sp<Object>> = false;
    template <typename Object>
    static constexpr bool kIsPrinted<hidl_vec<sp<Object>>> = false;
    template <typename Record>
    static constexpr bool kIsPrinted<MQDescriptorSync<Record>> = false;
    template <typename Function>
    static constexpr bool kIsPrinted<std::function<Function>> = false;

    std::map<std::string, std::any> values_;
    std::map<std::string, std::any> functions_;
    std::map<std::type_index, std::shared_ptr<void>> ends_;
    std::mutex mutex_;
    sp<Hidl::ISensorClient> firstCaller_;
    /// By the names of their streams.
    std::map<std::string, sp<Hidl::ISensorClient>> preparers_;
};

template <typename HalInterface>
using Fake = HalTable::EveryMethod<FakeService<HalInterface>, HalInterface>;

}  // namespace TestSupport
