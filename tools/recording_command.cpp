// sensorctl recording info, check, plot
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "commands.h"
#include "display.h"
#include "failure.h"
#include "output.h"
#include "recording_inspection.h"
#include "recording_plot.h"

namespace {

Json milliseconds(std::chrono::nanoseconds time) {
    return static_cast<double>(time.count()) * 1e-6;
}

Cell decimals(double value, int count) {
    return {value, fmt::format("{:.{}f}", value, count)};
}

Cell spread(const IntervalStatistics& intervals) {
    return intervals.count() == 0
               ? Cell()
               : decimals(milliseconds(intervals.standardDeviation()).get<double>(), 3);
}

Cell longest(const IntervalStatistics& intervals) {
    return intervals.count() == 0 ? Cell()
                                  : decimals(milliseconds(intervals.longest()).get<double>(), 1);
}

Cell megabytes(uintmax_t bytes) {
    return {bytes, fmt::format("{:.1f}", static_cast<double>(bytes) * 1e-6)};
}

Table streamTable(const RecordingReport& report) {
    Table table({"stream", "records", "rate Hz", "jitter ms", "longest gap ms", "drops",
                 "frame sets left out", "latency p50 ms", "latency p99 ms", "MB"});
    for (const StreamReport& stream : report.streams) {
        const auto latency = [&stream](double fraction) {
            const auto time = stream.latencies.percentile(fraction);
            return time ? decimals(milliseconds(*time).get<double>(), 2) : Cell();
        };
        const bool isOfCamera = stream.name.rfind("camera-", 0) == 0;
        table.addRow({stream.name, stream.records, decimals(stream.rate, 1),
                      spread(stream.intervals), longest(stream.intervals),
                      stream.drops ? Cell(*stream.drops) : Cell(),
                      isOfCamera ? Cell(stream.frameSetsLeftOut) : Cell(), latency(0.5),
                      latency(0.99), megabytes(stream.bytes)});
    }
    return table;
}

Table cameraTable(const RecordingReport& report) {
    Table table({"camera", "name", "images", "rate Hz", "jitter ms", "longest gap ms", "image",
                 "calibration", "MB"});
    for (const CameraReport& camera : report.cameras) {
        table.addRow(
            {camera.directory, camera.name, camera.images, decimals(camera.rate, 1),
             spread(camera.intervals), longest(camera.intervals),
             camera.width == 0 ? Cell() : Cell(fmt::format("{}x{}", camera.width, camera.height)),
             camera.isCalibrated ? "yes" : "unknown", megabytes(camera.bytes)});
    }
    return table;
}

std::string textOf(const nlohmann::json& object, const char* name) {
    const auto found = object.is_object() ? object.find(name) : object.end();
    return found != object.end() && found->is_string() ? printable(found->get<std::string>()) : "-";
}

/// Summary of a recording: its program, times and state.
Table overviewTable(const Recording::Reader& recording, const RecordingReport& report) {
    Table table({"recording", "program", "began", "seconds", "MB", "ground truth", "state"});
    const nlohmann::json& description = recording.description();
    const auto start =
        description.is_object() ? description.value("start", nlohmann::json()) : nlohmann::json();
    table.addRow({recording.directory().string(),
                  recording.isPlainEuroc() ? "EuRoC data set" : textOf(description, "program"),
                  textOf(start, "utc"), decimals(report.seconds, 1), megabytes(report.bytes),
                  recording.groundTruth() ? "yes" : "no",
                  recording.isCutOff() ? "cut off" : "complete"});
    return table;
}

void info(const std::string& directory) {
    const Recording::Reader recording(directory);
    const RecordingReport report = inspect(recording, false);
    Output::print({{"recording", overviewTable(recording, report)},
                   {"streams", streamTable(report)},
                   {"cameras", cameraTable(report)}});
}

void check(const std::string& directory) {
    const Recording::Reader recording(directory);
    const RecordingReport report = inspect(recording, true);
    uint64_t records = 0;
    uint64_t images = 0;
    for (const StreamReport& stream : report.streams) {
        records += stream.records;
    }
    for (const CameraReport& camera : report.cameras) {
        images += camera.images;
    }
    const std::string state = recording.isCutOff() ? "cut off" : "complete";
    std::string line;
    for (const std::string& problem : report.problems) {
        line += printable(problem) + "\n";
    }
    if (report.problemsLeftOut > 0) {
        line += fmt::format("and {} more problems\n", report.problemsLeftOut);
    }
    line +=
        fmt::format("{}: {}, {}; {} records and {} images in {:.1f} s", directory,
                    report.isSound() ? "sound" : "damaged", state, records, images, report.seconds);
    Output::print(line, {{"sound", report.isSound()},
                         {"state", state},
                         {"records", records},
                         {"images", images},
                         {"seconds", report.seconds},
                         {"problems", report.problems}});
    if (!report.isSound()) {
        throw Failure(ExitCode::NOT_AS_EXPECTED,
                      fmt::format("{} has {} problems", directory,
                                  report.problems.size() + report.problemsLeftOut));
    }
}

CLI::App& addCommand(CLI::App& group, const char* name, const char* description,
                     const std::shared_ptr<std::string>& directory) {
    CLI::App& command = *group.add_subcommand(name, description);
    command.add_option("recording", *directory, "Its directory, or that of a EuRoC data set")
        ->type_name("DIR")
        ->required();
    return command;
}

}  // namespace

void addRecordingCommand(CLI::App& app) {
    const auto directory = std::make_shared<std::string>();
    CLI::App& group =
        *app.add_subcommand("recording", "Look at recordings and check them; needs no service");
    group.require_subcommand(1);
    addCommand(group, "info", "Print counts, rates, gaps, jitter, latency and sizes", directory)
        .callback([directory] { info(*directory); });
    addCommand(group, "check",
               "Read every file and decode every image: fails, with the places, if one is damaged",
               directory)
        .callback([directory] { check(*directory); });

    const auto options = std::make_shared<PlotOptions>();
    CLI::App& plotCommand = addCommand(
        group, "plot",
        "Draw signals over time, intervals between samples and latency; needs gnuplot", directory);
    plotCommand.add_option("--out", options->file, "The picture, .svg or .png; it is replaced")
        ->type_name("FILE")
        ->required();
    plotCommand
        .add_option("--streams", options->streams,
                    "Which streams, separated by commas; otherwise all")
        ->type_name("STREAM,...")
        ->delimiter(',');
    plotCommand.callback([directory, options] { plotRecording(*directory, *options); });
}
