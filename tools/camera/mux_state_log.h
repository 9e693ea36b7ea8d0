// The mux states of a recording.
#pragma once

#include <vek/sensors/camera.h>

#include <memory>
#include <string>

#include "recording/recorder.h"

/// Gives a recording the mux state in force and each one that follows. The service tells them to
/// the owner of a stream only, so this opens one, which never runs.
class MuxStateLog {
  public:
    static constexpr char kStream[] = "mux-states";
    static std::string titles();

    /// Asks the service, and does nothing if there are no cameras.
    /// @param number of the stream in the recording's plan.
    MuxStateLog(Recording::Recorder& recorder, size_t number);
    /// From here on the recorder is not called any more.
    ~MuxStateLog();
    MuxStateLog(const MuxStateLog&) = delete;
    MuxStateLog& operator=(const MuxStateLog&) = delete;

  private:
    struct Sink;

    std::shared_ptr<Sink> sink_;
    std::unique_ptr<Vek::Sensors::ICompositeStream> composite_;
    std::unique_ptr<Vek::Sensors::ICameraStream> stream_;
};
