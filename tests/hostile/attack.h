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
    /// Runs in a process of its own; calls hold() when the attack is under way. One that returns
    /// ends its process as of SIGKILL.
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

    /// In order, so that sanitizers look for what is left. @return its summary
    std::string endService() {
        if (std::exchange(bystander_, nullptr) != nullptr) {
            simulator_.process().send(SIGTERM);
            EXPECT_EQ(simulator_.process().wait(), 0);
        }
        return simulator_.finish();
    }

    /// During each attack and after it the bystander is served, and then nothing is left of it.
    template <size_t Count>
    void expectNoHarm(const char* role, const Attack (&attacks)[Count], const char* notice) {
        // But for threads that were busy when they were counted.
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
