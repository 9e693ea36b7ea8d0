// sensorctl record
#include <fmt/format.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "camera/mux_state_log.h"
#include "commands.h"
#include "display.h"
#include "failure.h"
#include "inventory.h"
#include "output.h"
#include "recording/recorder.h"

namespace {

struct RecordOptions {
    SessionOptions session;
    std::string directory;
    bool isReplacing = false;
    bool isRaw = false;
    std::optional<double> snapshotSeconds;
    std::string groundTruth;
};

/// Outcome of the streams.
struct Received {
    std::vector<Recording::StreamEnd> ends;
    Table summary;
    double seconds;
    uint64_t drops;
    bool hasServiceDied;
};

std::string megabytesText(uint64_t bytes) {
    return fmt::format("{:.1f} MB", static_cast<double>(bytes) * 1e-6);
}

std::string progressLine(double seconds, const Recording::Recorder::Progress& progress,
                         uint64_t drops, bool isSnapshot) {
    return fmt::format("{:.0f} s  {} records  {} frame sets  {}  {} dropped  {} left out  {} {}",
                       seconds, progress.rows, progress.frameSets, megabytesText(progress.bytes),
                       drops, progress.frameSetsLeftOut, megabytesText(progress.waitingBytes),
                       isSnapshot ? "kept" : "waiting");
}

std::unique_ptr<Recording::Recorder> makeRecorder(const RecordOptions& options, Session& session) {
    Recording::Plan plan = session.plan();
    if (!plan.cameras.empty()) {
        plan.streams.push_back({MuxStateLog::kStream, MuxStateLog::titles()});
    }
    const Inventory inventory = takeInventory();
    for (const auto& [name, table] : inventory.tables()) {
        plan.inventory[name] = table.rows();
    }
    Recording::Recorder::Options recorderOptions;
    recorderOptions.compression =
        options.isRaw ? Recording::Compression::NONE : Recording::Compression::FAST;
    if (options.snapshotSeconds) {
        recorderOptions.snapshot = durationOf(*options.snapshotSeconds);
    }
    return std::make_unique<Recording::Recorder>(
        std::make_unique<Recording::Writer>(options.directory, std::move(plan),
                                            options.isReplacing),
        recorderOptions);
}

/// Records until the user, the duration or the service ends the run.
Received receive(const RecordOptions& options, std::unique_ptr<Recording::Recorder>& recorder) {
    Shutdown shutdown(kShutdownGrace);
    Session session(options.session, shutdown);
    recorder = makeRecorder(options, session);
    session.recordTo(*recorder);
    Display display;
    const auto begin = std::chrono::steady_clock::now();
    session.start();
    std::optional<MuxStateLog> muxStates;
    if (!recorder->plan().cameras.empty()) {
        muxStates.emplace(*recorder, recorder->plan().streams.size() - 1);
    }
    constexpr std::chrono::milliseconds kProgressInterval{500};
    while (session.receiveUntil(std::chrono::steady_clock::now() + kProgressInterval)) {
        recorder->check();
        if (display.isTerminal() && !Output::isJson()) {
            const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
            display.update({progressLine(seconds.count(), recorder->progress(), session.drops(),
                                         options.snapshotSeconds.has_value())});
        }
    }
    session.finish();
    return {session.ends(), session.summary(), session.seconds(), session.drops(),
            shutdown.isServiceDead()};
}

void record(const RecordOptions& options) {
    std::unique_ptr<Recording::Recorder> recorder;
    const Received received = receive(options, recorder);
    // A second signal does not interrupt the writing.
    const bool isThere = recorder->finish(received.ends, options.groundTruth);
    const Recording::Recorder::Progress progress = recorder->progress();
    if (Output::isJson()) {
        Output::print("", {{"duration_s", received.seconds},
                           {"summary", received.summary.rows()},
                           {"recording", isThere ? Json(options.directory) : Json()},
                           {"records", progress.rows},
                           {"frame_sets", progress.frameSets},
                           {"frame_sets_left_out", progress.frameSetsLeftOut},
                           {"drops", received.drops},
                           {"bytes", progress.bytes}});
    } else {
        Display::append({fmt::format("summary of {:.1f} s", received.seconds)});
        Display::append(received.summary.lines());
        Display::append(
            {isThere ? fmt::format("{}: {} records, {} frame sets, {}; {} records dropped, {} "
                                   "frame sets left out",
                                   options.directory, progress.rows, progress.frameSets,
                                   megabytesText(progress.bytes), received.drops,
                                   progress.frameSetsLeftOut)
                     : fmt::format("{}: nothing came, so nothing was written", options.directory)});
    }
    if (received.hasServiceDied) {
        throw Failure(ExitCode::SERVICE_DIED, kServiceDied);
    }
}

}  // namespace

void addRecordCommand(CLI::App& app) {
    const auto options = std::make_shared<RecordOptions>();
    CLI::App& command = *app.add_subcommand(
        "record",
        "Keep all records of the streams, with images, in a directory that other programs read as\n"
        "a EuRoC data set and moriak-sensor-simulator --replay plays back");
    addSessionOptions(command, options->session);
    command
        .add_option("--out", options->directory,
                    "The directory. It is made with the first record; one that is not empty is "
                    "refused")
        ->type_name("DIR")
        ->required();
    command.add_flag(
        "--force", options->isReplacing,
        "Replace an earlier recording in the directory once the first record is there");
    command.add_flag("--raw", options->isRaw,
                     "Do not compress the images, where encoding takes too much time");
    command
        .add_option("--snapshot", options->snapshotSeconds,
                    "Keep the last seconds in memory and write them at the end only")
        ->type_name("SECONDS")
        ->check(secondsFrom(0.1));
    command
        .add_option("--ground-truth", options->groundTruth,
                    "Copy this file of true poses in at the end: what moriak-sensor-simulator "
                    "--ground-truth\nwrites, or another in EuRoC's form")
        ->type_name("FILE");
    command.callback([options] { record(*options); });
}
