// What the end-to-end tests share: client processes, deaths as events.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/roles.h"
#include "support/runtime_directory.h"
#include "support/simulator.h"

namespace TestSupport {

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
