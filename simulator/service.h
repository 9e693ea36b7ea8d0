// What the services of all HAL interfaces have in common.
#pragma once

#include <fmq/MessageQueue.h>

#include <memory>
#include <utility>

#include "client_identity.h"
#include "faults.h"
#include "hal.h"

namespace Simulator {

using android::hardware::Return;
using android::hardware::Void;

/// A queue that a client has made.
template <typename Record>
using ClientQueue = android::hardware::MQDescriptorSync<Record>;

/// A HAL interface whose methods have the faults that were asked for. No method fails in the
/// transport's sense: generated code would end the process.
template <typename Interface>
class Service : public Interface {
  protected:
    explicit Service(std::shared_ptr<const Faults> faults) : faults_(std::move(faults)) {}

    /// What the method is to answer: SUCCESS unless it has a fault.
    Hal::Result faultOf(const char* method) const {
        return faults_->resultOf(Interface::descriptor, method);
    }
    bool isFaulty(const char* method) const { return faultOf(method) != Hal::Result::SUCCESS; }

    /// The answer of `action`, or of the fault that the method has.
    template <typename Action>
    Hal::Result unlessFaulty(const char* method, const Action& action) const {
        const Hal::Result fault = faultOf(method);
        return fault == Hal::Result::SUCCESS ? action() : fault;
    }

    const std::shared_ptr<const Faults> faults_;
};

}  // namespace Simulator
