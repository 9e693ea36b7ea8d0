// A client that a soak has started, as seen from outside.
#pragma once

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>

#include "client.h"
#include "support/child_process.h"

namespace Soak {

/// The longest that anything may take.
constexpr std::chrono::seconds kBound{30};

/// By how much the number of a process's HIDL threads, which come and go with the calls, may differ
/// from one time to another.
constexpr size_t kPoolThreads = 8;

struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// What each thread of a process that hangs does.
std::string describeThreads(int pid);

std::string contentOf(const std::string& path);

/// What a process has written to its error file, but for the line that an emulator adds when one
/// aborts (scripts/run-arm64).
std::string errorsIn(const std::string& path);

/// What was done to a client.
struct Fate {
    /// Whether a service that it used died.
    bool isOrphaned;
    /// The signal that it was killed by; 0: none.
    int killedBy = 0;
};

struct Verdict {
    /// In which phase of its life the client was at its end, or when it noticed the death.
    std::string phase;
    std::string outcome;
    /// What is not as it should be; empty if all is.
    std::string problem;
};

/// Whether a client met the death of its service, or of another client, as it should.
/// @param end exit code, or minus a signal
/// @param errors what the client wrote to standard error
Verdict judge(const ClientPlan& plan, const Fate& fate, int end, const std::string& errors);

/// Killed with its object.
class RunningClient {
  public:
    /// @param errorFile does not exist yet, and no more in the end
    RunningClient(ClientPlan plan, std::string errorFile);
    ~RunningClient();
    RunningClient(const RunningClient&) = delete;
    RunningClient& operator=(const RunningClient&) = delete;

    int pid() const { return process_.pid(); }
    void tell(int signal) const { process_.send(signal); }

    /// @return what it said before that; none if it ends instead
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
