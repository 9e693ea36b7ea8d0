// The user's names of groups of LEDs, clocks and kinds of messages.
#pragma once

#include <vek/sensors/face_eye_tracking_led.h>
#include <vek/sensors/tamb_stream.h>

#include <array>
#include <string>
#include <vector>

template <typename Value>
struct Named {
    const char* name;
    Value value;
};

inline constexpr std::array kLedGroups{
    Named<Vek::Sensors::FaceEyeTrackingLedGroup>{"left-eye",
                                                 Vek::Sensors::FaceEyeTrackingLedGroup::LEFT_EYE},
    Named<Vek::Sensors::FaceEyeTrackingLedGroup>{"right-eye",
                                                 Vek::Sensors::FaceEyeTrackingLedGroup::RIGHT_EYE},
    Named<Vek::Sensors::FaceEyeTrackingLedGroup>{"face",
                                                 Vek::Sensors::FaceEyeTrackingLedGroup::FACE},
};
inline constexpr std::array kTimeDomains{
    Named<Vek::Sensors::TimeDomain>{"monotonic", Vek::Sensors::TimeDomain::MONOTONIC},
    Named<Vek::Sensors::TimeDomain>{"boottime", Vek::Sensors::TimeDomain::BOOTTIME},
    Named<Vek::Sensors::TimeDomain>{"controller", Vek::Sensors::TimeDomain::CONTROLLER},
    Named<Vek::Sensors::TimeDomain>{"external", Vek::Sensors::TimeDomain::EXTERNAL},
};
inline constexpr std::array kMessageKinds{
    Named<Vek::Sensors::KivraRpcMessageKind>{"response",
                                             Vek::Sensors::KivraRpcMessageKind::RESPONSE},
    Named<Vek::Sensors::KivraRpcMessageKind>{"error", Vek::Sensors::KivraRpcMessageKind::ERROR},
    Named<Vek::Sensors::KivraRpcMessageKind>{"notification",
                                             Vek::Sensors::KivraRpcMessageKind::NOTIFICATION},
};

template <typename Table>
std::vector<std::string> namesOf(const Table& table) {
    std::vector<std::string> names;
    for (const auto& entry : table) {
        names.emplace_back(entry.name);
    }
    return names;
}

/// Null if the table has no such name.
template <typename Table>
const typename Table::value_type* findNamed(const Table& table, const std::string& name) {
    for (const auto& entry : table) {
        if (entry.name == name) {
            return &entry;
        }
    }
    return nullptr;
}
