// See environment.h.
#include "end_to_end/environment.h"

#include <log/log.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <future>
#include <sstream>

namespace TestSupport {
namespace {

std::promise<void>& deathHandled() {
    static std::promise<void> promise;
    return promise;
}

}  // namespace

Simulator::Simulator(std::vector<std::string> options) {
    summaryFile_ = std::string(getenv("MORIAK_HIDL_RUNTIME_DIR")) + "/summary";
    options.insert(options.begin(),
                   {MORIAK_SIMULATOR, "--quiet", "--ready-fd", "3", "--summary", summaryFile_});
    process_ = std::make_unique<ChildProcess>(options);
    if (process_->awaitNotice().empty()) {
        std::fputs("the simulator did not start\n", stderr);
        std::abort();
    }
}

std::string Simulator::finish() {
    process_->end(SIGTERM);
    std::ostringstream summary;
    summary << std::ifstream(summaryFile_).rdbuf();
    return summary.str();
}

bool Simulator::settlesAt(const ProcessResources& expected) const {
    return becomesTrue([&] {
        const ProcessResources now = resourcesOf(pid());
        return now.descriptors == expected.descriptors && now.mappings == expected.mappings &&
               now.threads <= expected.threads;
    });
}

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
