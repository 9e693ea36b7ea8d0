// Options that need a recording are refused without one.
#include "replay/replay_arguments.h"

namespace Simulator {

void addReplayOptions(CLI::App& app, ReplayOptions* options) {
    constexpr const char* kGroup = "Playing back";
    CLI::Option* const replay =
        app.add_option("--replay", options->directory,
                       "Serve a recording of sensorctl or a EuRoC data set instead of a\n"
                       "simulated world; sensors that were not recorded are absent")
            ->type_name("DIR")
            ->check(CLI::ExistingDirectory)
            ->group(kGroup);
    app.add_flag("--loop", options->isLooped, "Begin anew at the end")
        ->needs(replay)
        ->group(kGroup);
    app.add_option("--start", options->start, "Where to begin, in seconds of the recording")
        ->type_name("SECONDS")
        ->check(CLI::NonNegativeNumber)
        ->needs(replay)
        ->group(kGroup);
    app.add_option("--streams", options->streams,
                   "Streams to play, separated by commas (default: all that were recorded)")
        ->type_name("NAME,...")
        ->delimiter(',')
        ->needs(replay)
        ->group(kGroup);
    app.add_flag("--keep-timestamps", options->areTimestampsKept,
                 "Leave the records' times as they were recorded, instead of moving\n"
                 "them to when they are played")
        ->needs(replay)
        ->group(kGroup);
}

}  // namespace Simulator
