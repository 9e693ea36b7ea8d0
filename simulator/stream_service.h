// The part of the HAL interfaces that gives clients their streams.
#pragma once

#include <memory>
#include <utility>

#include "faults.h"
#include "hal.h"
#include "stream_server.h"

namespace Simulator {

/// What all sensors with one stream have. No method fails in the transport's sense: generated code
/// would end the process.
template <typename Interface, typename Record>
class StreamService : public Interface {
  public:
    using Server = StreamServer<Record>;

    StreamService(std::shared_ptr<Server> server, std::shared_ptr<const Faults> faults)
        : server_(std::move(server)), faults_(std::move(faults)) {}

    android::hardware::Return<Hal::Result> prepareStream(
        const android::hardware::MQDescriptorSync<Record>& queue,
        const android::sp<Hal::ISensorClient>& client, const Hal::FmqConfig& config) override {
        const Hal::Result fault = faultOf("prepareStream");
        return fault == Hal::Result::SUCCESS ? server_->prepare(queue, client, config) : fault;
    }

    android::hardware::Return<Hal::Result> controlStream(
        const android::sp<Hal::ISensorClient>& client, Hal::StreamCommand command) override {
        const Hal::Result fault = faultOf("controlStream");
        return fault == Hal::Result::SUCCESS ? server_->control(client, command) : fault;
    }

    Server& server() const { return *server_; }

  protected:
    Hal::Result faultOf(const char* method) const {
        return faults_->resultOf(Interface::descriptor, method);
    }

  private:
    const std::shared_ptr<Server> server_;
    const std::shared_ptr<const Faults> faults_;
};

}  // namespace Simulator
