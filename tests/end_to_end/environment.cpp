#include "end_to_end/environment.h"

#include <log/log.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <future>

namespace TestSupport {
namespace {

std::promise<void>& deathHandled() {
    static std::promise<void> promise;
    return promise;
}

}  // namespace

std::vector<std::unique_ptr<ChildProcess>> startClients(const std::string& role, size_t count) {
    std::vector<std::unique_ptr<ChildProcess>> clients;
    for (size_t i = 0; i < count; ++i) {
        clients.push_back(startClient(role));
    }
    for (const auto& client : clients) {
        EXPECT_EQ(client->awaitNotice(), "streaming") << role;
    }
    return clients;
}

void watchForDeath() {
    __android_log_set_logger([](const __android_log_message* line) {
        __android_log_stderr_logger(line);
        if (std::string(line->message).find(" ignoring.") != std::string::npos) {
            deathHandled().set_value();
        }
    });
}

void awaitDeath() {
    using namespace std::chrono_literals;
    if (deathHandled().get_future().wait_for(30s) != std::future_status::ready) {
        std::fputs("no death notice came\n", stderr);
        _exit(1);
    }
}

}  // namespace TestSupport
