#include "platform/echo_service.h"

#include <gtest/gtest.h>
#include <hidl/HidlTransportSupport.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>

namespace moriak_test {

using android::hardware::Void;

Return<void> EchoService::reverse(const hidl_vec<Record>& records, reverse_cb callback) {
    hidl_vec<Record> reversed(records);
    std::reverse(reversed.begin(), reversed.end());
    for (Record& record : reversed) std::reverse(record.numbers.begin(), record.numbers.end());
    callback(reversed);
    return Void();
}

Return<int32_t> EchoService::forward(const sp<IListener>& listener, int32_t question) {
    return listener->ask(question).withDefault(-1);
}

Return<void> EchoService::keep(const sp<IListener>& listener) {
    const std::lock_guard lock(mutex_);
    kept_ = listener;
    return Void();
}

Return<bool> EchoService::isKept(const sp<IListener>& listener) {
    const std::lock_guard lock(mutex_);
    return android::hardware::interfacesEqual(kept_, listener);
}

Return<sp<IListener>> EchoService::getKept() {
    const std::lock_guard lock(mutex_);
    return kept_;
}

Return<void> EchoService::collect(uint32_t number) {
    const std::lock_guard lock(mutex_);
    numbers_.push_back(number);
    return Void();
}

Return<void> EchoService::collected(collected_cb callback) {
    const std::lock_guard lock(mutex_);
    callback(numbers_);
    return Void();
}

Return<void> EchoService::hang() {
    while (true) pause();
}

Return<void> EchoService::debug(const hidl_handle& file, const hidl_vec<hidl_string>& options) {
    const hidl_string& text = options[0];
    EXPECT_EQ(write(file->data[0], text.c_str(), text.size()), static_cast<ssize_t>(text.size()));
    return Void();
}

namespace {

int runWhen(bool isReady) {
    if (!isReady || !TestSupport::sendNotice("ready")) return 1;
    android::hardware::configureRpcThreadpool(1, true);
    android::hardware::joinRpcThreadpool();
}

const TestSupport::ClientRole kService{
    "service", [] {
        const sp<EchoService> service = new EchoService;
        return runWhen(service->registerAsService(TestSupport::roleArgument()) == android::OK);
    }};

const TestSupport::ClientRole kClient{
    "client", [] {
        const sp<IEcho> echo = IEcho::getService(TestSupport::roleArgument());
        const sp<IListener> listener = new Listener;
        return runWhen(echo != nullptr && echo->keep(listener).isOk());
    }};

/** Has a service, and looks another up as soon as there is one: "own,other". */
const TestSupport::ClientRole kPartner{
    "partner", [] {
        const std::string names = TestSupport::roleArgument();
        const size_t comma = names.find(',');
        const sp<EchoService> service = new EchoService;
        if (service->registerAsService(names.substr(0, comma)) != android::OK) return 1;
        sp<IEcho> other;
        const bool isFound = becomesTrue([&] {
            other = IEcho::getService(names.substr(comma + 1));
            return other != nullptr;
        });
        const sp<IListener> listener = new Listener;
        if (!isFound || !other->keep(listener).isOk()) return 1;
        // The other one's listener goes home over the connection that it came by.
        sp<IListener> kept;
        const bool isMet = becomesTrue([&] {
            kept = service->getKept();
            return kept != nullptr;
        });
        return runWhen(isMet && bool(other->isKept(listener)) && other->forward(kept, 7).isOk());
    }};

}  // namespace

RoleProcess::RoleProcess(const std::string& role, const std::string& argument, bool isAwaited)
    : process_(TestSupport::startClient(role, argument)) {
    if (isAwaited) EXPECT_TRUE(isReady());
}

}  // namespace moriak_test
