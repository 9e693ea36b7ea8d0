// The simulated service, for tests of clients.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "support/child_process.h"

namespace TestSupport {

/// The simulated service in a process of its own, up and running; killed with its object.
class Simulator {
  public:
    /// @param errorFile see ChildProcess
    explicit Simulator(std::vector<std::string> options = {}, const std::string& errorFile = {});

    void kill() { process_->end(SIGKILL); }
    int pid() const { return process_->pid(); }
    ChildProcess& process() { return *process_; }

    /// Ends the service as its user would. @return its summary
    std::string finish();

    /// Waits until the service holds just that, and no more threads; false if it does not within a
    /// generous bound.
    bool settlesAt(const ProcessResources& expected) const;

  private:
    std::string summaryFile_;
    std::unique_ptr<ChildProcess> process_;
};

}  // namespace TestSupport
