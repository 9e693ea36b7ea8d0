// The mux state (how the cameras are shared among their purposes), for users.
#pragma once

#include <vek/sensors/camera.h>

#include <optional>

#include "table.h"

/// The current state; empty if there are no cameras. The service sends it only to the owner of a
/// stream, so this opens one until the process ends.
std::optional<Vek::Sensors::FrameSetConfigurationUpdate> muxStateInForce(
    Vek::Sensors::ICameraProvider& provider);

/// The current mode and its fallback, with the purposes that they serve.
Table muxModeTable(const Vek::Sensors::FrameSetConfigurationUpdate& state);

/// Which cameras are used in which slot of the mode's cycle.
Table muxSlotTable(const Vek::Sensors::FrameSetConfigurationUpdate& state);
