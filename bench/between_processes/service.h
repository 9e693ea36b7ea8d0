// The service of the benchmarks, which obeys orders: the other end of hand-overs and calls.
#pragma once

#include <cstdint>

#include "between_processes/bare_ring.h"
#include "between_processes/peer.h"

namespace Bench {

/// Sent to the service, which obeys and then sends Done.
struct Order {
    enum class What : uint32_t {
        /// Write samples into the queue that the library has prepared.
        kSamples,
        /// Write them into the bare ring.
        kBareSamples,
        /// Write them into the ring with eventfds.
        kEventSamples,
        /// Write frame sets into the library's queue, each when the one before has come back.
        kFrameSets,
        /// The same through two bare rings.
        kBareFrameSets,
        /// Answer requests on the channel itself.
        kEcho,
    } what;
    uint32_t count;
    /// Samples a second; 0: each one as soon as the one before was read.
    uint32_t rate = 0;
    /// Of an echo, in bytes.
    uint32_t requestSize = 0;
    uint32_t replySize = 0;
};

struct Done {
    /// What the service took of the processors, in ns.
    double cpuTime;
    /// Of the frame sets, there and back, in us.
    double p50;
    double p99;
};

/// The Tambril service answers a message of this procedure with one of the same payload.
inline constexpr uint32_t kAnsweredProcedure = 1;

/// Such a service in a process of its own, up and running, on its processor.
class Service : private OnProcessor, public Peer {
  public:
    explicit Service(uint32_t processor)
        : OnProcessor(processor), Peer(inRole("service")), client_(0) {
        awaitReady();
    }

  private:
    /// Ours while the service lives.
    OnProcessor client_;
};

/// One for all processes of a run.
BareRings& sharedRings();

/// The service's process.
int serve();

}  // namespace Bench
