// Writes a recording to disk. docs/recordings.md describes the files.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "recording/calibration.h"
#include "recording/reader.h"

namespace Recording {

/// A stream to record.
struct StreamPlan {
    std::string name;
    /// Of the record, as FieldList::titles gives them.
    std::string titles;
};

/// What the images of a recording are of, and what else is known when it begins.
struct Plan {
    /// Name and version of the recording program.
    std::string program;
    /// The devices, in the program's own form; null if it does not know them.
    nlohmann::json inventory;
    std::vector<StreamPlan> streams;
    /// The directory of each is its place here, `calibration` is made of the texts.
    std::vector<CameraInfo> cameras;
};

/// What the receiver of a stream knows of it when the recording ends.
struct StreamEnd {
    uint64_t drops = 0;
    uint64_t frameSetsLeftOut = 0;
};

/// Nothing is made, and nothing replaced, before the first row or image: a run that records nothing
/// leaves everything as it was. From then on the recording is readable at any time, up to what was
/// flushed.
///
/// Threading: begin() is alone; then writeImage and those that only read may be called by any
/// thread, the others by one.
class Writer {
  public:
    /// Throws Error if the directory cannot be made or has something in it. That is replaced if
    /// `isReplacing`, but only if it is a recording: no other files are ever removed.
    Writer(std::filesystem::path directory, Plan plan, bool isReplacing);
    /// Without finish(), the recording stays marked as cut off.
    ~Writer();
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    const Plan& plan() const { return plan_; }
    /// Written so far.
    uint64_t bytes() const { return bytes_; }

    /// Makes the directory and its files. Throws Error if that does not work; what was there before
    /// is back then. Before all calls that write.
    void begin();
    bool hasBegun() const { return hasBegun_; }

    /// Writes rows of a stream, each with the time of its reception in front and a line end.
    /// All of these throw Error if the disk is full, for instance.
    void writeRows(size_t stream, std::string_view rows);

    /// Writes a PNG file of a camera, named by the time of its frame set, without its row.
    void writeImage(size_t camera, int64_t timestamp, std::string_view png);
    /// Writes the row of an image that was written.
    void writeImageRow(size_t camera, int64_t timestamp);
    /// The size of a camera's images, once it is known.
    void setImageSize(size_t camera, uint32_t width, uint32_t height);

    /// Hands everything to the operating system: what a killed program leaves behind.
    void flush();

    /// Copies a file of EuRoC's ground truth. Throws Error if it is none.
    void addGroundTruth(const std::filesystem::path& file);

    /// Closes the recording and marks it as complete.
    /// @param ends of the streams, in their order.
    void finish(const std::vector<StreamEnd>& ends);

  private:
    /// A file that is appended to.
    class File;
    struct Stream;
    struct Camera;

    void makeFiles();
    void describe(bool isComplete);
    void replaceFile(const std::filesystem::path& file, const std::string& text);

    const std::filesystem::path directory_;
    const Plan plan_;
    /// The name of an earlier recording while this one begins; empty if there is none.
    std::filesystem::path old_;
    std::atomic<bool> hasBegun_{false};
    size_t flushes_ = 0;
    nlohmann::json start_;
    std::vector<Stream> streams_;
    std::vector<Camera> cameras_;
    std::vector<StreamEnd> ends_;
    std::atomic<uint64_t> bytes_{0};
    bool hasGroundTruth_ = false;
};

}  // namespace Recording
