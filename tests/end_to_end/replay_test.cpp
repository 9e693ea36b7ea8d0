// Recordings that are played back and recorded again: both must be equal.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "end_to_end/environment.h"
#include "recording/image.h"
#include "recording/temporary_directory.h"

namespace {

using namespace TestSupport;
namespace fs = std::filesystem;

std::string contentOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<std::string> linesOf(const fs::path& file) {
    std::ifstream stream(file);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// The rows of a stream, sorted, without the columns that depend on the receiver: time of reception
/// and buffer index.
std::vector<std::string> recordsOf(const fs::path& file) {
    std::vector<std::string> records;
    std::vector<bool> isReceivers;
    for (const std::string& line : linesOf(file)) {
        std::string record;
        size_t column = 0;
        for (size_t begin = 0; begin <= line.size(); ++column) {
            const size_t end = std::min(line.find(',', begin), line.size());
            const std::string cell = line.substr(begin, end - begin);
            if (records.empty()) {
                isReceivers.push_back(cell == "received_ns" ||
                                      cell.find("_buffer") != std::string::npos);
            }
            record += isReceivers[column] ? "" : cell + ",";
            begin = end + 1;
        }
        records.push_back(record);
    }
    std::sort(records.begin(), records.end());
    return records;
}

/// Records until all streams have as many rows as they need to have.
/// @param need called with the name of a stream's file
void record(const fs::path& out, const std::string& streams,
            const std::function<size_t(const fs::path&)>& need) {
    ChildProcess recorder({MORIAK_SENSORCTL, "record", "--out", out, "--streams", streams});
    EXPECT_TRUE(becomesTrue([&] {
        std::error_code none;
        const fs::directory_iterator files(out / "streams", none);
        return files != fs::directory_iterator() &&
               std::all_of(files, fs::directory_iterator(), [&](const fs::directory_entry& entry) {
                   return linesOf(entry.path()).size() >= need(entry.path().filename());
               });
    })) << out;
    recorder.send(SIGINT);
    EXPECT_EQ(recorder.wait(), 0);
}

const std::vector<std::string> kPlayExactly{"--speed", "0", "--keep-timestamps"};

std::vector<std::string> playing(const fs::path& recording) {
    std::vector<std::string> options{"--replay", recording};
    options.insert(options.end(), kPlayExactly.begin(), kPlayExactly.end());
    return options;
}

/// Made by the service during playback, not played from the recording.
constexpr char kNotPlayed[] = "mux-states.csv";

using ReplayTest = EndToEndTest;

TEST_F(ReplayTest, RecordingAPlaybackGivesTheSameRecordsAndPixels) {
    constexpr char kStreams[] =
        "imu,mag,iad,flicker,adc-flicker,ambient-light,external-timing,cameras,controllers";
    const TemporaryDirectory directory;
    const fs::path first = directory.path() / "first";
    const fs::path second = directory.path() / "second";
    {
        const Simulator world;
        record(first, kStreams, [](const fs::path& stream) {
            return stream == "imu.csv" ? 600 : stream.string().find("camera") == 0 ? 4 : 0;
        });
    }
    const Simulator player(playing(first));
    record(second, kStreams, [&](const fs::path& stream) {
        return stream == kNotPlayed ? 0 : linesOf(first / "streams" / stream).size();
    });

    size_t images = 0;
    for (const auto& entry : fs::recursive_directory_iterator(first)) {
        const fs::path name = fs::relative(entry.path(), first);
        if (entry.path().extension() == ".png") {
            ++images;
            EXPECT_EQ(contentOf(entry.path()), contentOf(second / name)) << name;
        } else if (*name.begin() == "streams" && entry.is_regular_file() &&
                   name.filename() != kNotPlayed) {
            EXPECT_EQ(recordsOf(entry.path()), recordsOf(second / name)) << name;
        }
    }
    EXPECT_GT(images, 0U);
}

TEST_F(ReplayTest, TwoRunsOfOneSeedAreEqualAndHaveTheRequestedLength) {
    const TemporaryDirectory directory;
    const fs::path runs[] = {directory.path() / "first", directory.path() / "second"};
    for (const fs::path& run : runs) {
        const Simulator world({"--speed", "0", "--seed", "5"});
        ChildProcess recorder({MORIAK_SENSORCTL, "record", "--out", run, "--duration", "1.495",
                               "--streams", "imu,mag,controllers,camera-depth,camera-eye"});
        EXPECT_EQ(recorder.wait(), 0);
    }
    // With the line of titles.
    EXPECT_EQ(linesOf(runs[0] / "streams/mag.csv").size(), 151U);
    EXPECT_EQ(linesOf(runs[0] / "streams/camera-eye.csv").size(), 91U);
    for (const char* const stream : {"imu", "mag", "controller-imu", "controller-buttons",
                                     "controller-pose", "camera-depth", "camera-eye"}) {
        const std::string file = fmt::format("streams/{}.csv", stream);
        EXPECT_EQ(recordsOf(runs[0] / file), recordsOf(runs[1] / file)) << stream;
    }
    for (const auto& entry : fs::recursive_directory_iterator(runs[0] / "mav0")) {
        if (entry.is_regular_file()) {
            const fs::path name = fs::relative(entry.path(), runs[0]);
            EXPECT_EQ(contentOf(entry.path()), contentOf(runs[1] / name)) << name;
        }
    }
}

TEST_F(ReplayTest, EurocDataSetPlaysAndACameraWithoutAnImageWasNotReceived) {
    const TemporaryDirectory directory;
    const fs::path dataSet = directory.path() / "euroc";
    directory.write("euroc/mav0/imu0/data.csv",
                    "#timestamp [ns],w_RS_S_x [rad s^-1],w_RS_S_y [rad s^-1],w_RS_S_z [rad s^-1],"
                    "a_RS_S_x [m s^-2],a_RS_S_y [m s^-2],a_RS_S_z [m s^-2]\n"
                    "1403636579758555392,1,2,3,4,5,6\n1403636579763555392,7,8,9,10,11,12\n");
    for (const std::string camera : {"euroc/mav0/cam0/", "euroc/mav0/cam1/"}) {
        directory.write(
            camera + "data.csv",
            "#timestamp [ns],filename\n1403636579758555392,a.png\n" +
                std::string(camera == "euroc/mav0/cam0/" ? "1403636579808555392,b.png\n" : ""));
        for (const char* const name : {"a.png", "b.png"}) {
            directory.write(
                camera + "data/" + name,
                Recording::encodePng(
                    {3, 1, Recording::PixelFormat::GREY_8, {1, 2, static_cast<uint8_t>(name[0])}},
                    Recording::Compression::FAST));
        }
    }
    const Simulator player(playing(dataSet));
    const fs::path again = directory.path() / "again";
    ChildProcess recorder({MORIAK_SENSORCTL, "record", "--out", again, "--streams", "imu,cameras"});
    EXPECT_TRUE(becomesTrue([&] {
        return linesOf(again / "streams" / "imu.csv").size() == 3 &&
               linesOf(again / "streams" / "camera-headset.csv").size() == 3;
    }));
    recorder.send(SIGINT);
    EXPECT_EQ(recorder.wait(), 0);

    EXPECT_NE(contentOf(again / "mav0/imu0/data.csv").find("1403636579763555392,7,8,9,10,11,12"),
              std::string::npos);
    EXPECT_EQ(Recording::readPng(again / "mav0/cam0/data/1403636579808555392.png").pixels.back(),
              'b');
    EXPECT_TRUE(fs::exists(again / "mav0/cam1/data/1403636579758555392.png"));
    EXPECT_FALSE(fs::exists(again / "mav0/cam1/data/1403636579808555392.png"));
}

}  // namespace
