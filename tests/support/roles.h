// Test programs that start themselves again, as a program of the test's own: in a role.
#pragma once

#include <memory>
#include <string>

#include "support/child_process.h"

namespace TestSupport {

/// What this test program does when it is started by the name of a role. Made as a global in the
/// file of the tests that use it.
struct ClientRole {
    ClientRole(const char* name, int (*run)());
};

/// Starts this program in the role. @param argument see roleArgument()
std::unique_ptr<ChildProcess> startClient(const std::string& role,
                                          const std::string& argument = {});

/// What the test that started this program in its role has to say.
const std::string& roleArgument();

}  // namespace TestSupport
