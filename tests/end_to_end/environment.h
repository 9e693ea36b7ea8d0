// What the end-to-end tests share: the simulated service, client processes, deaths as events.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/roles.h"
#include "support/runtime_directory.h"

namespace TestSupport {

/// The simulated service in a process of its own, up and running; killed with its object.
class Simulator {
  public:
    explicit Simulator(std::vector<std::string> options = {});

    void kill() { process_->end(SIGKILL); }
    int pid() const { return process_->pid(); }

    /// Ends the service as its user would. @return its summary
    std::string finish();

    /// Waits until the service holds just that, and no more threads; false if it does not within a
    /// generous bound.
    bool settlesAt(const ProcessResources& expected) const;

  private:
    std::string summaryFile_;
    std::unique_ptr<ChildProcess> process_;
};

class EndToEndTest : public ::testing::Test {
  private:
    const RuntimeDirectory directory_;
};

/// Runs clients in a role, each until it has said that it is streaming. They are killed with the
/// result.
std::vector<std::unique_ptr<ChildProcess>> startClients(const std::string& role, size_t count);

/// Takes note of the log line that ends the default reaction to a service's death.
void watchForDeath();

/// Waits for that line; ends the process with exit code 1 if it does not come in time.
void awaitDeath();

}  // namespace TestSupport
