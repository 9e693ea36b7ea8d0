// Names of LED groups, clocks and kinds of messages for users.
#pragma once

#include <vek/sensors/face_eye_tracking_led.h>
#include <vek/sensors/tamb_stream.h>

#include "recording/enum_names.h"

inline constexpr Recording::Named<Vek::Sensors::FaceEyeTrackingLedGroup> kLedGroups[] = {
    {Vek::Sensors::FaceEyeTrackingLedGroup::LEFT_EYE, "left-eye"},
    {Vek::Sensors::FaceEyeTrackingLedGroup::RIGHT_EYE, "right-eye"},
    {Vek::Sensors::FaceEyeTrackingLedGroup::FACE, "face"},
};
inline constexpr Recording::Named<Vek::Sensors::TimeDomain> kTimeDomains[] = {
    {Vek::Sensors::TimeDomain::MONOTONIC, "monotonic"},
    {Vek::Sensors::TimeDomain::BOOTTIME, "boottime"},
    {Vek::Sensors::TimeDomain::CONTROLLER, "controller"},
    {Vek::Sensors::TimeDomain::EXTERNAL, "external"},
};
inline constexpr Recording::Named<Vek::Sensors::KivraRpcMessageKind> kMessageKinds[] = {
    {Vek::Sensors::KivraRpcMessageKind::RESPONSE, "response"},
    {Vek::Sensors::KivraRpcMessageKind::ERROR, "error"},
    {Vek::Sensors::KivraRpcMessageKind::NOTIFICATION, "notification"},
};
