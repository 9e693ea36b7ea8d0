#include "world/world_options.h"

#include <CLI/CLI.hpp>

namespace Simulator {

void addWorldOptions(CLI::App& app, WorldSettings* settings) {
    constexpr char kGroup[] = "Motion";
    app.add_option("--seed", settings->seed,
                   "The wearer's way and the sensors' errors; the same again for the same seed")
        ->type_name("N")
        ->capture_default_str()
        ->group(kGroup);
    app.add_option("--trajectory", settings->trajectory,
                   "Poses for the headset to go through, world from IMU, in the form of EuRoC's "
                   "ground truth\nor TUM's; without it, the wearer walks through the room")
        ->type_name("FILE")
        ->check(CLI::ExistingFile)
        ->group(kGroup);
    app.add_option("--ground-truth", settings->groundTruth,
                   "File for the headset's true motion and its IMU's biases at each of its "
                   "samples, in\nthe form of EuRoC's ground truth")
        ->type_name("FILE")
        ->group(kGroup);
    auto* const sensors =
        app.add_option("--sensors", settings->sensors,
                       "YAML with figures for the errors of the motion sensors; those it does "
                       "not have\nare those of sensors.yaml")
            ->type_name("FILE")
            ->check(CLI::ExistingFile)
            ->group(kGroup);
    app.add_flag("--ideal", settings->isIdeal, "Motion sensors without errors")
        ->excludes(sensors)
        ->group(kGroup);
}

}  // namespace Simulator
