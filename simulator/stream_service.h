// The methods of HAL interfaces that prepare and control streams.
#pragma once

#include <utility>

#include "service.h"
#include "stream_server.h"

namespace Simulator {

/// Implements those methods for sensors with one stream.
/// @tparam StreamServer the clients of the stream: a StreamClients or derived from it
template <typename Interface, typename Record,
          typename StreamServer = Simulator::StreamServer<Record>>
class StreamService : public Service<Interface> {
  public:
    using Server = StreamServer;

    explicit StreamService(android::sp<Server> server) : server_(std::move(server)) {}

    Return<Hidl::Result> prepareStream(const ClientQueue<Record>& queue,
                                       const ClientIdentity& client,
                                       const Hidl::FmqConfig& config) override {
        return server_->prepare(queue, client, config);
    }

    Return<Hidl::Result> controlStream(const ClientIdentity& client,
                                       Hidl::StreamCommand command) override {
        return server_->control(client, command);
    }

    Server& server() const { return *server_; }

  private:
    const android::sp<Server> server_;
};

}  // namespace Simulator
