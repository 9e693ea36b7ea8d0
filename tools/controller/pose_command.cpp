// sensorctl pose
#include <fmt/format.h>
#include <vek/sensors/factories.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>

#include "commands.h"
#include "controller/controller_access.h"
#include "controller/controller_commands.h"
#include "failure.h"
#include "output.h"
#include "waiter.h"

using namespace Vek::Sensors;

namespace {

struct PoseOptions {
    std::string key;
    double rate = 500;
    double durationSeconds = 10;
};

struct PoseCounts {
    uint64_t sent = 0;
    uint64_t taken = 0;
};

/// Pose of a controller that moves in a circle in front of the user, with a period of 2 s.
PoseOutput poseAt(ControllerAddr controller, uint32_t sequence,
                  std::chrono::steady_clock::time_point time) {
    constexpr double kAngularRate = M_PI;  // rad/s
    constexpr double kRadius = 0.2;        // m
    const std::chrono::duration<double> seconds = time.time_since_epoch();
    const double angle = std::fmod(kAngularRate * seconds.count(), 2 * M_PI);
    const double x = kRadius * std::cos(angle);
    const double z = kRadius * std::sin(angle);
    const double square = kAngularRate * kAngularRate;
    PoseOutput pose{};
    pose.controller = controller;
    pose.timestamp = std::chrono::nanoseconds(time.time_since_epoch()).count();
    pose.position = {static_cast<float>(x), 0.4F, static_cast<float>(1.1 + z)};
    pose.orientation = {0, 0, 0, 1};
    pose.linearVelocity = {static_cast<float>(-kAngularRate * z), 0,
                           static_cast<float>(kAngularRate * x)};
    pose.linearAcceleration = {static_cast<float>(-square * x), 0, static_cast<float>(-square * z)};
    pose.status = CONTROLLER_POSE_POSITION_VALID | CONTROLLER_POSE_ORIENTATION_VALID;
    pose.sequence = sequence;
    pose.confidence = 1;
    return pose;
}

/// Sends one pose at a time until the end. If the queue is full a pose is lost, as with a real
/// tracker: the next one is more useful.
PoseCounts stream(IControllerStateProvider& provider, ControllerAddr controller, Waiter& waiter,
                  const PoseOptions& options) {
    const auto begin = std::chrono::steady_clock::now();
    const auto count = static_cast<uint64_t>(std::llround(options.rate * options.durationSeconds));
    PoseCounts counts;
    while (counts.sent < count) {
        const auto due = begin + durationOf(static_cast<double>(counts.sent) / options.rate);
        if (!waiter.until(due)) {
            break;
        }
        // Only accepted poses advance the sequence number, so that the service counts only losses
        // on its own side.
        const auto sequence = static_cast<uint32_t>(counts.taken);
        ++counts.sent;
        counts.taken += provider.sendPose(poseAt(controller, sequence, due)) ? 1U : 0U;
    }
    return counts;
}

void send(const PoseOptions& options) {
    Shutdown shutdown(kShutdownGrace);
    Waiter waiter(shutdown);
    const auto owner = requireService(createControllerStateProvider(), "IControllerStateProvider");
    const ControllerAddr controller = findPaired(*requireControllers(), options.key).address;
    owner->preparePoseOutputStream();
    owner->startPoseOutputStream();
    const auto begin = std::chrono::steady_clock::now();
    const PoseCounts counts = stream(*owner, controller, waiter, options);
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin;
    const double rate = static_cast<double>(counts.sent) / elapsed.count();
    Output::print(
        fmt::format("sent {} poses in {:.1f} s, {:.1f} a second; the service took {}, {} found its "
                    "queue full",
                    counts.sent, elapsed.count(), rate, counts.taken, counts.sent - counts.taken),
        {{"sent", counts.sent},
         {"taken", counts.taken},
         {"duration_s", elapsed.count()},
         {"rate_hz", rate}});
    shutdown.requireService();
    owner->stopPoseOutputStream();
}

}  // namespace

void addPoseCommand(CLI::App& app) {
    const auto options = std::make_shared<PoseOptions>();
    CLI::App& pose = *app.add_subcommand("pose", "Act as the owner of the hand controllers' state");
    pose.require_subcommand(1);
    CLI::App& command = *pose.add_subcommand(
        "send", "Send poses of a controller that goes round a circle, and count those taken");
    addControllerArgument(command, options->key);
    command.add_option("--rate", options->rate, "Poses a second")
        ->type_name("HZ")
        ->check(CLI::Range(0.1, 100'000.0))
        ->capture_default_str();
    command.add_option("--duration", options->durationSeconds, "For how long")
        ->type_name("SECONDS")
        ->check(secondsFrom(0.01))
        ->capture_default_str();
    command.callback([options] { send(*options); });
}
