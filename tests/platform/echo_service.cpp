// See echo_service.h.
#include "platform/echo_service.h"

#include <fcntl.h>
#include <fmq/MessageQueue.h>
#include <gtest/gtest.h>
#include <hidl/HidlTransportSupport.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace moriak_test {

using android::hardware::kSynchronizedReadWrite;
using android::hardware::MessageQueue;
using android::hardware::MQDescriptorSync;
using android::hardware::Void;

namespace {

constexpr char kRoleVariable[] = "MORIAK_TEST_ROLE";
constexpr char kInstanceVariable[] = "MORIAK_TEST_INSTANCE";
constexpr char kLogVariable[] = "MORIAK_TEST_LOG";

bool startRole(const std::string& role, const std::string& instance) {
    if (role == "service") {
        const sp<EchoService> service = new EchoService;
        return service->registerAsService(instance) == android::OK;
    }
    const sp<IEcho> echo = IEcho::getService(instance);
    const sp<IListener> listener = new Listener([](int32_t question) { return question; });
    return echo != nullptr && echo->keep(listener).isOk();
}

/** Turns a test program that was started as a RoleProcess into what it is to be. */
class ChildRole : public testing::Environment {
  public:
    void SetUp() override {
        const char* role = std::getenv(kRoleVariable);
        if (role == nullptr) return;
        const int log = open(std::getenv(kLogVariable), O_WRONLY | O_CREAT | O_APPEND, 0600);
        dup2(log, STDERR_FILENO);
        close(log);
        if (!startRole(role, std::getenv(kInstanceVariable))) _exit(1);
        constexpr int kNoticeDescriptor = 3;
        if (write(kNoticeDescriptor, "ready", 5) != 5) _exit(1);
        android::hardware::joinRpcThreadpool();
    }
};
[[maybe_unused]] testing::Environment* const childRole =
    testing::AddGlobalTestEnvironment(new ChildRole);

}  // namespace

bool becomesTrue(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + kLongEnough;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

// EchoService

Return<void> EchoService::reverse(const hidl_vec<Record>& records, reverse_cb callback) {
    hidl_vec<Record> reversed(records);
    std::reverse(reversed.begin(), reversed.end());
    for (Record& record : reversed) {
        std::reverse(record.numbers.begin(), record.numbers.end());
    }
    callback(reversed);
    return Void();
}

Return<void> EchoService::readFile(const hidl_handle& file, readFile_cb callback) {
    std::string content;
    if (file.getNativeHandle() != nullptr && file->numFds == 1) {
        char bytes[256];
        ssize_t count = 0;
        while ((count = read(file->data[0], bytes, sizeof(bytes))) > 0) {
            content.append(bytes, static_cast<size_t>(count));
        }
    }
    callback(content);
    return Void();
}

Return<uint32_t> EchoService::fill(const MQDescriptorSync<uint32_t>& queue) {
    MessageQueue<uint32_t, kSynchronizedReadWrite> numbers(queue);
    uint32_t written = 0;
    while (numbers.isValid() && numbers.write(&written)) ++written;
    return written;
}

Return<int32_t> EchoService::forward(const sp<IListener>& listener, int32_t question) {
    const Return<int32_t> answer = listener->ask(question);
    return answer.isOk() ? static_cast<int32_t>(answer) : -1;
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

Return<sp<IEcho>> EchoService::getChild() {
    const std::lock_guard lock(mutex_);
    if (child_ == nullptr) child_ = new EchoService;
    return child_;
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

// RuntimeDirectory

namespace {
/** One for the whole program: a process keeps its socket where it first opened it. */
struct SharedDirectory {
    SharedDirectory() : path(testing::TempDir() + "moriak-calls-XXXXXX") {
        if (mkdtemp(path.data()) == nullptr) std::abort();
    }
    ~SharedDirectory() { std::filesystem::remove_all(path); }
    std::string path;
};
}  // namespace

const std::string& RuntimeDirectory::path() const {
    static const SharedDirectory directory;
    return directory.path;
}

RuntimeDirectory::RuntimeDirectory() {
    setenv("MORIAK_HIDL_RUNTIME_DIR", path().c_str(), 1);
}

// RoleProcess

namespace {
std::string newLogPath() {
    static int started = 0;
    return std::string(std::getenv("MORIAK_HIDL_RUNTIME_DIR")) + "/" + std::to_string(started++) +
           ".log";
}

std::vector<std::string> prepareRole(const std::string& role, const std::string& instance,
                                     const std::string& logPath) {
    setenv(kRoleVariable, role.c_str(), 1);
    setenv(kInstanceVariable, instance.c_str(), 1);
    setenv(kLogVariable, logPath.c_str(), 1);
    return {"/proc/self/exe"};
}
}  // namespace

RoleProcess::RoleProcess(const std::string& role, const std::string& instance)
    : logPath_(newLogPath()), process_(prepareRole(role, instance, logPath_)) {
    unsetenv(kRoleVariable);
    EXPECT_EQ(process_.awaitNotice(), "ready");
}

std::string RoleProcess::log() const {
    std::ostringstream text;
    text << std::ifstream(logPath_).rdbuf();
    return text.str();
}

}  // namespace moriak_test
