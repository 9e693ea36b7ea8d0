// Attacks of hostile clients on the simulated service, which has a well-behaved client as well.
#pragma once

#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <utility>

#include "end_to_end/environment.h"
#include "hostile/bystander.h"

namespace TestSupport {

struct Attack {
    const char* name;
    /// Runs in a separate process; calls hold() when the attack is under way. If it returns, its
    /// process is ended as by SIGKILL.
    void (*run)();
};

inline bool hasFailed() {
    return ::testing::UnitTest::GetInstance()->Failed();
}

/// Keeps the attack up until the process is killed.
[[noreturn]] inline void hold() {
    sendNotice(hasFailed() ? "failed" : "under way");
    while (true) {
        pause();
    }
}

/// What a process in the role of an attacker does: the attack that its argument names.
template <size_t Count>
int runAttack(const Attack (&attacks)[Count]) {
    std::find_if(std::begin(attacks), std::end(attacks), [](const Attack& attack) {
        return attack.name == roleArgument();
    })->run();
    if (hasFailed()) {
        sendNotice("failed");
    }
    return raise(SIGKILL);
}

class AttackTest : public EndToEndTest {
  protected:
    AttackTest() { EXPECT_TRUE(bystander_->isServed()); }
    void TearDown() override { endService(); }

    /// Ends the service normally, so that sanitizers check for leaks. @return its summary
    std::string endService() {
        if (std::exchange(bystander_, nullptr) != nullptr) {
            simulator_.process().send(SIGTERM);
            EXPECT_EQ(simulator_.process().wait(), 0);
        }
        return simulator_.finish();
    }

    /// Checks that the bystander is served during and after each attack, and that the service keeps
    /// nothing of the attacker.
    template <size_t Count>
    void expectNoHarm(const char* role, const Attack (&attacks)[Count], const char* notice) {
        // A tolerance for threads that were busy during the count.
        ProcessResources before = resourcesOf(simulator_.pid());
        before.threads += 2;
        for (const Attack& attack : attacks) {
            SCOPED_TRACE(attack.name);
            {
                const auto attacker = startClient(role, attack.name);
                EXPECT_EQ(attacker->awaitNotice(), notice);
                EXPECT_TRUE(bystander_->isServed());
            }
            EXPECT_TRUE(simulator_.settlesAt(before));
            EXPECT_TRUE(bystander_->isServed());
        }
    }

    Simulator simulator_{{"--firmware-seconds", "0.05", "--rpc-notifications", "50"}};
    std::unique_ptr<Bystander> bystander_ = std::make_unique<Bystander>();
};

}  // namespace TestSupport
