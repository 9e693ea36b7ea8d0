// What a client uses of the service, area by area.
#pragma once

#include <memory>
#include <vector>

#include "client.h"
#include "streams.h"

namespace Soak {

/// Each step is one of a client's life, in this order; destruction comes last.
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
    /// What a client sends through shared memory while it receives.
    virtual void send() {}
    /// Control calls in the midst of streaming. False if one was refused.
    virtual bool call() = 0;
    virtual void stop() = 0;
    /// Instead of stop, once the service is dead: what would call it in its destructor stays until
    /// the end of the process.
    virtual void abandon() {}
};

std::vector<std::unique_ptr<Area>> areasOf(const ClientPlan& plan);

}  // namespace Soak
