// Programs that a test starts and ends.
#pragma once

#include <csignal>
#include <functional>
#include <string>
#include <vector>

namespace TestSupport {

/// A program started by a test; killed and reaped with its object.
class ChildProcess {
  public:
    /// @param arguments begin with the program's path.
    explicit ChildProcess(const std::vector<std::string>& arguments);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    int pid() const { return pid_; }

    /// Blocks until the program wrote something to descriptor 3 and returns it; empty if it ended
    /// or kept silent for 20 s.
    std::string awaitNotice();

    /// Sends the signal and waits for the end.
    void end(int signal);

    /// Waits for the end. @return the exit code, or minus the signal that ended it.
    int wait();

  private:
    int pid_ = -1;
    int notices_ = -1;
};

/// What a process holds, by which a leak shows.
struct ProcessResources {
    size_t descriptors;
    size_t threads;
    /// Of shared memory.
    size_t mappings;

    friend bool operator==(const ProcessResources& a, const ProcessResources& b) {
        return a.descriptors == b.descriptors && a.threads == b.threads && a.mappings == b.mappings;
    }
};

ProcessResources resourcesOf(int pid);

/// Whether the condition becomes true within 30 s. For states that nothing announces.
bool becomesTrue(const std::function<bool()>& condition);

}  // namespace TestSupport
