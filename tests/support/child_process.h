// Programs that a test starts and ends.
#pragma once

#include <chrono>
#include <csignal>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace TestSupport {

/// A program started by a test; killed and reaped with its object.
class ChildProcess {
  public:
    /// @param arguments begin with the program's path.
    /// @param errorFile what it writes to standard error is added to this file, if one is given.
    explicit ChildProcess(const std::vector<std::string>& arguments,
                          const std::string& errorFile = {});
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    int pid() const { return pid_; }

    /// Blocks until the program wrote something to descriptor 3 and returns it; empty if it ended
    /// or kept silent for 20 s.
    std::string awaitNotice();

    /// Does nothing once the program's end is known.
    void send(int signal) const;

    /// Sends the signal and waits for the end.
    void end(int signal);

    /// Waits for the end. @return the exit code, or minus the signal that ended it.
    int wait();

    /// Like wait(), with a limit; empty if the process has not ended by then.
    std::optional<int> waitFor(std::chrono::milliseconds timeout);

  private:
    int pid_ = -1;
    int notices_ = -1;
};

/// From a program to the one that started it: see ChildProcess::awaitNotice.
bool sendNotice(const std::string& text);

/// Resources of a process, to detect leaks.
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

/// Whether a thread of this process comes to wait for something, likewise.
bool fallsAsleep(int thread);

}  // namespace TestSupport
