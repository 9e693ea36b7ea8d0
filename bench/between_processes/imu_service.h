// A service with one IMU that does as it is told: the other end of the hand-overs and the calls.
#pragma once

#include <cstdint>

#include "between_processes/bare_ring.h"
#include "between_processes/peer.h"

namespace Bench {

/// Sent to the service, which answers with the processor time that it took, in ns (double).
struct Order {
    enum class What : uint32_t {
        /// Write records into the queue that the library has prepared.
        kQueue,
        /// Write records into the bare ring.
        kRing,
        /// Answer requests on the channel itself.
        kEcho,
    } what;
    uint32_t count;
    /// Records a second; 0: each one as soon as the one before was read.
    uint32_t rate = 0;
};

// As large as a configureStream call and its reply are on the library's socket.
struct Request {
    char bytes[140];
};
struct Reply {
    char bytes[72];
};

/// Such a service in a process of its own, up and running, on its processor.
class ImuService : private OnProcessor, public Peer {
  public:
    explicit ImuService(uint32_t processor)
        : OnProcessor(processor), Peer(inRole("imu-service")), client_(0) {
        awaitReady();
    }

  private:
    /// Ours while the service lives.
    OnProcessor client_;
};

/// One for all processes of a run.
BareRing& sharedRing();

/// The service's process.
int serveImu();

}  // namespace Bench
