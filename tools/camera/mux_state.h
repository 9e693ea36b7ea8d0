// How the cameras are shared out among their purposes, as the user sees it.
#pragma once

#include <vek/sensors/camera.h>

#include <optional>

#include "table.h"

/// The state that is in force. The service tells it only to the owner of a stream, so this opens
/// one, for as long as the process runs. Empty if there are no cameras.
std::optional<Vek::Sensors::FrameSetConfigurationUpdate> muxStateInForce(
    Vek::Sensors::ICameraProvider& provider);

/// The mode in force and the one that it falls back to, with the purposes that they serve.
Table muxModeTable(const Vek::Sensors::FrameSetConfigurationUpdate& state);

/// Which cameras are used in which slot of the mode's cycle.
Table muxSlotTable(const Vek::Sensors::FrameSetConfigurationUpdate& state);
