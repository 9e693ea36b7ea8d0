// The mux states of a recording.
#pragma once

#include <vek/sensors/camera.h>

#include <memory>
#include <string>

#include "recording/recorder.h"

/// Records the current mux state and all later ones. The service sends them only to the owner of a
/// stream, so this opens one, which never runs.
class MuxStateLog {
  public:
    static constexpr char kStream[] = "mux-states";
    static std::string titles();

    /// Registers with the service. Does nothing if there are no cameras.
    /// @param number of the stream in the recording's plan.
    MuxStateLog(Recording::Recorder& recorder, size_t number);
    /// When this returns, the recorder is not used any more.
    ~MuxStateLog();
    MuxStateLog(const MuxStateLog&) = delete;
    MuxStateLog& operator=(const MuxStateLog&) = delete;

  private:
    struct Sink;

    std::shared_ptr<Sink> sink_;
    std::unique_ptr<Vek::Sensors::ICompositeStream> composite_;
    std::unique_ptr<Vek::Sensors::ICameraStream> stream_;
};
