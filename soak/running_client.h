// A client process that a trial has started.
#pragma once

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>

#include "client.h"
#include "support/child_process.h"

namespace Soak {

/// Time limit of each step.
constexpr std::chrono::seconds kBound{30};

/// Tolerance for the number of HIDL threads of a process, which varies with its calls.
constexpr size_t kPoolThreads = 8;

struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Describes what each thread of a hanging process does.
std::string describeThreads(int pid);

std::string contentOf(const std::string& path);

/// The content of a process's error file, without the line that an emulator adds after an abort
/// (scripts/run-arm64).
std::string errorsIn(const std::string& path);

/// What has happened to a client.
struct Fate {
    /// Whether a service that it used died.
    bool isOrphaned;
    /// The signal that it was killed by; 0: none.
    int killedBy = 0;
};

struct Verdict {
    /// The phase in which the client ended, or noticed the death.
    std::string phase;
    std::string outcome;
    /// What is wrong; empty if nothing is.
    std::string problem;
};

/// Checks whether a client reacted correctly to the death of its service, or of another client.
/// @param end exit code, or minus a signal
/// @param errors what the client wrote to standard error
Verdict judge(const ClientPlan& plan, const Fate& fate, int end, const std::string& errors);

/// A running client; killed when this object is destroyed.
class RunningClient {
  public:
    /// @param errorFile created here and removed at the end
    RunningClient(ClientPlan plan, std::string errorFile);
    ~RunningClient();
    RunningClient(const RunningClient&) = delete;
    RunningClient& operator=(const RunningClient&) = delete;

    int pid() const { return process_.pid(); }
    void tell(int signal) const { process_.send(signal); }

    /// @return earlier notices; empty if the client ends instead
    std::optional<std::string> awaitNotice(const std::string& notice);

    /// Throws a Failure if it hangs, or does not end as it should.
    Verdict awaitEnd(const Fate& fate);

    std::string describe() const;

  private:
    const ClientPlan plan_;
    const std::string errorFile_;
    TestSupport::ChildProcess process_;
    std::string notices_;
};

}  // namespace Soak
