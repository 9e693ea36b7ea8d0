// What the end-to-end tests share: the simulated service, client processes, deaths as events.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/roles.h"

namespace TestSupport {

/// The simulated service in a process of its own, up and running; killed with its object.
class Simulator {
  public:
    explicit Simulator(std::vector<std::string> options = {});

    void kill() { process_->end(SIGKILL); }
    int pid() const { return process_->pid(); }

  private:
    std::unique_ptr<ChildProcess> process_;
};

/// Waits until the service holds what is expected, and no more threads than that. False if that
/// does not come within a generous bound.
bool settlesAt(const Simulator& simulator, const ProcessResources& expected);

/// A runtime directory of its own, which the processes that a death test starts share.
class EndToEndTest : public ::testing::Test {
  protected:
    EndToEndTest();
    ~EndToEndTest() override;

  private:
    std::string ownedDirectory_;
};

/// Takes note of the log line that ends the default reaction to a service's death.
void watchForDeath();

/// Waits for that line; ends the process with exit code 1 if it does not come in time.
void awaitDeath();

}  // namespace TestSupport
