// The service of the call tests: in this process, or in a child process that can be killed.
#pragma once

#include <moriak/test/calls/1.0/IEcho.h>
#include <moriak/test/calls/1.0/IListener.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "support/roles.h"
#include "support/runtime_directory.h"

namespace moriak_test {

using android::sp;
using android::hardware::hidl_handle;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using moriak::test::calls::V1_0::IEcho;
using moriak::test::calls::V1_0::IListener;
using moriak::test::calls::V1_0::Record;
using TestSupport::becomesTrue;
using TestSupport::RuntimeDirectory;

class EchoService : public IEcho {
  public:
    Return<void> reverse(const hidl_vec<Record>& records, reverse_cb callback) override;
    Return<int32_t> forward(const sp<IListener>& listener, int32_t question) override;
    Return<void> keep(const sp<IListener>& listener) override;
    Return<bool> isKept(const sp<IListener>& listener) override;
    Return<sp<IListener>> getKept() override;
    Return<void> collect(uint32_t number) override;
    Return<void> collected(collected_cb callback) override;
    Return<void> hang() override;
    /** Writes the first option into the file. */
    Return<void> debug(const hidl_handle& file, const hidl_vec<hidl_string>& options) override;

  private:
    std::mutex mutex_;
    sp<IListener> kept_;
    std::vector<uint32_t> numbers_;
};

/** Answers through a function; without one, with the question. */
class Listener : public IListener {
  public:
    using Answer = std::function<int32_t(int32_t)>;
    explicit Listener(Answer answer = [](int32_t question) { return question; })
        : answer_(std::move(answer)) {}
    Return<int32_t> ask(int32_t question) override { return answer_(question); }

  private:
    const Answer answer_;
};

/** This test program in another process, ready in a role; killed at the end. */
class RoleProcess {
  public:
    pid_t pid() const { return process_->pid(); }
    /** Kills the process and waits until it is gone. */
    void kill() { process_->end(SIGKILL); }
    size_t descriptors() const { return TestSupport::resourcesOf(pid()).descriptors; }

  protected:
    /** @param isAwaited whether it is ready when this returns */
    RoleProcess(const std::string& role, const std::string& argument, bool isAwaited = true);
    bool isReady() const { return process_->awaitNotice() == "ready"; }

  private:
    const std::unique_ptr<TestSupport::ChildProcess> process_;
};

/** Has registered an EchoService as `instance`. */
struct ServiceProcess : RoleProcess {
    explicit ServiceProcess(const std::string& instance = "default")
        : RoleProcess("service", instance) {}
};

/** Has made the service `instance` keep a listener of its own. */
struct ClientProcess : RoleProcess {
    explicit ClientProcess(const std::string& instance) : RoleProcess("client", instance) {}
};

/** Two of them look each other up at the same time. */
struct PartnerProcess : RoleProcess {
    PartnerProcess(const std::string& own, const std::string& other)
        : RoleProcess("partner", own + "," + other, false) {}
    using RoleProcess::isReady;
};

}  // namespace moriak_test
