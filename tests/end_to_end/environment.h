// What the end-to-end tests share: the simulated service, client processes, deaths as events.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/child_process.h"

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

/// A runtime directory of its own, which the processes that a death test starts share.
class EndToEndTest : public ::testing::Test {
  protected:
    EndToEndTest();
    ~EndToEndTest() override;

  private:
    std::string ownedDirectory_;
};

/// What this test program does when it is started as a client by the name of a role. Made as a
/// global in the file of the tests that use it.
struct ClientRole {
    ClientRole(const char* name, int (*run)());
};

/// Starts this program as such a client.
std::unique_ptr<ChildProcess> startClient(const std::string& role);

/// From a client in a role to the test that started it: see ChildProcess::awaitNotice.
bool sendNotice(const std::string& text);

/// Takes note of the log line that ends the default reaction to a service's death.
void watchForDeath();

/// Waits for that line; ends the process with exit code 1 if it does not come in time.
void awaitDeath();

}  // namespace TestSupport
