// The groups of LEDs that a device has.
#pragma once

#include <vek/sensors/face_eye_tracking_led.h>

#include "table.h"

/// Asks the service.
Table ledTable(Vek::Sensors::IFaceEyeTrackingLed& leds);
