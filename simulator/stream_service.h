// The part of the HAL interfaces that gives clients their streams.
#pragma once

#include <memory>
#include <utility>

#include "service.h"
#include "stream_server.h"

namespace Simulator {

/// What all sensors with one stream have.
template <typename Interface, typename Record>
class StreamService : public Service<Interface> {
  public:
    using Server = StreamServer<Record>;

    StreamService(android::sp<Server> server, std::shared_ptr<const Faults> faults)
        : Service<Interface>(std::move(faults)), server_(std::move(server)) {}

    Return<Hal::Result> prepareStream(const ClientQueue<Record>& queue,
                                      const ClientIdentity& client,
                                      const Hal::FmqConfig& config) override {
        return this->unlessFaulty("prepareStream",
                                  [&] { return server_->prepare(queue, client, config); });
    }

    Return<Hal::Result> controlStream(const ClientIdentity& client,
                                      Hal::StreamCommand command) override {
        return this->unlessFaulty("controlStream",
                                  [&] { return server_->control(client, command); });
    }

    Server& server() const { return *server_; }

  private:
    const android::sp<Server> server_;
};

}  // namespace Simulator
