// The areas of the service that a client may use.
#pragma once

#include <memory>
#include <vector>

#include "client.h"
#include "streams.h"

namespace Soak {

/// The methods are the phases of a client's life, in this order; destruction comes last.
class Area {
  public:
    Area() = default;
    virtual ~Area() = default;
    Area(const Area&) = delete;
    Area& operator=(const Area&) = delete;

    /// False if a service is not there.
    virtual bool lookUp() = 0;
    virtual void prepare(Streams& streams) = 0;
    virtual void start() = 0;
    /// Sends data through shared memory while the client receives.
    virtual void send() {}
    /// Makes control calls during streaming. False if one was refused.
    virtual bool call() = 0;
    virtual void stop() = 0;
    /// Called instead of stop if the service is dead. Leaks objects whose destructors would call
    /// the service.
    virtual void abandon() {}
};

std::vector<std::unique_ptr<Area>> areasOf(const ClientPlan& plan);

}  // namespace Soak
