// Receives streams on a thread.
#pragma once

#include <vek/sensors/stream.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <thread>

#include "sensor_stream.h"

/// A composite stream and a thread that waits on it. The streams must outlive the thread.
class Receiver {
  public:
    /// Capacity of one composite.
    static constexpr size_t kMostStreams = 15;

    Receiver();
    /// Ends the thread.
    ~Receiver();
    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

    bool isFull() const { return streams_ == kMostStreams; }
    /// Call it before start().
    void add(SensorStream& stream);

    void start();
    /// Ends the thread, then delivers the remaining records. The streams must have been stopped
    /// before.
    void finish();

  private:
    const std::unique_ptr<Vek::Sensors::ICompositeStream> composite_;
    size_t streams_ = 0;
    std::atomic<bool> isEnding_{false};
    std::thread thread_;
};
