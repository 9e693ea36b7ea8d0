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
    /// Column titles of the record (FieldList::titles).
    std::string titles;
};

/// Everything that is known about a recording when it begins.
struct Plan {
    /// Name and version of the recording program.
    std::string program;
    /// The devices, in the program's own format; null if unknown.
    nlohmann::json inventory;
    std::vector<StreamPlan> streams;
    /// The writer fills in `directory` from the index, and `calibration` from the texts.
    std::vector<CameraInfo> cameras;
};

/// Counts of a stream at the end of the recording, from its receiver.
struct StreamEnd {
    uint64_t drops = 0;
    uint64_t frameSetsLeftOut = 0;
};

/// Creates and replaces nothing before the first row or image, so a run that records nothing
/// changes nothing. From then on the recording is readable at any time, up to the last flush.
///
/// Threading: no other call may run during begin(). After it, writeImage and const methods may be
/// called from any thread, the others from one thread.
class Writer {
  public:
    /// Throws Error if the directory cannot be created or is not empty. If `isReplacing`, an
    /// existing recording is replaced; other files are never removed.
    Writer(std::filesystem::path directory, Plan plan, bool isReplacing);
    /// Without finish(), the recording stays marked as cut off.
    ~Writer();
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    const Plan& plan() const { return plan_; }
    /// Written so far.
    uint64_t bytes() const { return bytes_; }

    /// Creates the directory and its files. Call it before all methods that write. Throws Error if
    /// it fails; then an earlier recording is restored.
    void begin();
    bool hasBegun() const { return hasBegun_; }

    /// Writes rows of a stream, each of which starts with the time of reception and has a line end.
    /// This and the following methods throw Error if a write fails.
    void writeRows(size_t stream, std::string_view rows);

    /// Writes a PNG file of a camera, named by the time of its frame set, without its row.
    void writeImage(size_t camera, int64_t timestamp, std::string_view png);
    /// Writes the row of an image that was written.
    void writeImageRow(size_t camera, int64_t timestamp);
    /// The size of a camera's images, once it is known.
    void setImageSize(size_t camera, uint32_t width, uint32_t height);

    /// Passes all data to the operating system, so that it survives if the program is killed.
    void flush();

    /// Copies a file of EuRoC ground truth. Throws Error if it is not one.
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
    /// Temporary name of an earlier recording during begin(); empty if there is none.
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
