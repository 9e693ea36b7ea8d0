// The service of the call tests: in this process, or in a child process that can be killed.
#pragma once

#include <moriak/test/calls/1.0/IEcho.h>
#include <moriak/test/calls/1.0/IListener.h>
#include <sys/types.h>

#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "support/child_process.h"

namespace moriak_test {

using android::sp;
using android::hardware::hidl_handle;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using moriak::test::calls::V1_0::IEcho;
using moriak::test::calls::V1_0::IListener;
using moriak::test::calls::V1_0::Record;

/** Bound of every wait for something that must happen. */
constexpr std::chrono::seconds kLongEnough{20};

/** Whether the condition becomes true in time. For states that nothing announces. */
bool becomesTrue(const std::function<bool()>& condition);

class EchoService : public IEcho {
  public:
    Return<void> reverse(const hidl_vec<Record>& records, reverse_cb callback) override;
    Return<void> readFile(const hidl_handle& file, readFile_cb callback) override;
    Return<uint32_t> fill(const android::hardware::MQDescriptorSync<uint32_t>& queue) override;
    Return<int32_t> forward(const sp<IListener>& listener, int32_t question) override;
    Return<void> keep(const sp<IListener>& listener) override;
    Return<bool> isKept(const sp<IListener>& listener) override;
    Return<sp<IListener>> getKept() override;
    Return<sp<IEcho>> getChild() override;
    Return<void> collect(uint32_t number) override;
    Return<void> collected(collected_cb callback) override;
    Return<void> hang() override;

  private:
    std::mutex mutex_;
    sp<IListener> kept_;
    sp<IEcho> child_;
    std::vector<uint32_t> numbers_;
};

/** Answers through a function. */
class Listener : public IListener {
  public:
    explicit Listener(std::function<int32_t(int32_t)> answer) : answer_(std::move(answer)) {}
    Return<int32_t> ask(int32_t question) override { return answer_(question); }

  private:
    const std::function<int32_t(int32_t)> answer_;
};

/** A directory for the sockets of this test program and of the processes that it starts. */
class RuntimeDirectory {
  public:
    RuntimeDirectory();
    const std::string& path() const;
};

/** This test program in another process, in a role; killed at the end. */
class RoleProcess {
  public:
    pid_t pid() const { return process_.pid(); }
    /** Kills the process and waits until it is gone. */
    void kill() { process_.end(SIGKILL); }
    TestSupport::ProcessResources resources() const { return TestSupport::resourcesOf(pid()); }
    /** What it has written to its log so far. */
    std::string log() const;

  protected:
    /** Returns when the process is ready in its role. */
    RoleProcess(const std::string& role, const std::string& instance);

  private:
    const std::string logPath_;
    TestSupport::ChildProcess process_;
};

/** Has registered an EchoService as `instance`. */
class ServiceProcess : public RoleProcess {
  public:
    explicit ServiceProcess(const std::string& instance = "default")
        : RoleProcess("service", instance) {}
};

/** Has made the service `instance` keep a listener of its own. */
class ClientProcess : public RoleProcess {
  public:
    explicit ClientProcess(const std::string& instance) : RoleProcess("client", instance) {}
};

}  // namespace moriak_test
