// Reads recordings, and EuRoC data sets of other programs.
//
//     const Recording::Reader recording("walk");
//     if (const Recording::StreamInfo* imu = recording.findStream("imu")) {
//         Recording::CsvReader csv = recording.open(*imu);
//         const Recording::RecordReader<ImuData> records(csv);
//         for (ImuData sample{}; csv.next();) {
//             records.read(sample);
//         }
//     }
//
// Nothing in the files is trusted: names lead to files inside of the directory only, sizes have
// bounds, and what cannot be read throws Error with the name of the file and the line.
//
// Threading: a Reader does not change once it is made and may be used by any thread; what it opens
// belongs to one thread at a time.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "recording/calibration.h"
#include "recording/csv.h"
#include "recording/image.h"

namespace Recording {

/// The records of one stream, in the order in which they came.
struct StreamInfo {
    /// As sensorctl names streams: "imu", "controller-buttons", "camera-headset". A plain EuRoC
    /// data set has "imu" and "mag" at the most.
    std::string name;
    /// Absolute.
    std::filesystem::path file;
    /// Frame sets of a camera stream that were not recorded because the disk was too slow.
    uint64_t frameSetsLeftOut = 0;
};

/// The images of one camera in one stream.
struct CameraInfo {
    /// Below `mav0`: "cam0".
    std::string directory;
    /// The service's name of the camera; the directory's in a plain EuRoC data set.
    std::string name;
    /// The service's number of the camera; the directory's in a plain EuRoC data set.
    uint32_t cameraId = 0;
    /// The stream whose frame sets include the camera; empty in a plain EuRoC data set.
    std::string stream;
    /// Index of its frame in those frame sets.
    size_t position = 0;
    /// Images a second; 0 if it is not known.
    double rate = 0;
    /// Empty if it is unknown, or not that of a pinhole camera.
    std::optional<CameraCalibration> calibration;
    /// The calibration texts as the service gave them; empty in a plain EuRoC data set.
    std::string factoryCalibration;
    std::string deviceCalibration;
};

/// Iterates over the images of a camera in the order of its data.csv, without loading them.
class ImageCursor {
  public:
    ImageCursor(CsvReader csv, std::filesystem::path directory);

    /// @return false at the end. Throws Error if the row does not name a file inside the directory.
    bool next();

    int64_t timestamp() const { return timestamp_; }
    /// Absolute.
    const std::filesystem::path& file() const { return file_; }
    size_t line() const { return csv_.line(); }
    const CsvReader& csv() const { return csv_; }

  private:
    CsvReader csv_;
    std::filesystem::path directory_;
    int64_t timestamp_ = 0;
    std::filesystem::path file_;
};

class Reader {
  public:
    /// Throws Error if `directory` is neither a recording nor a EuRoC data set (nor the parent of
    /// a `mav0`), or its version is above kFormatVersion.
    explicit Reader(const std::filesystem::path& directory);
    ~Reader();
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    /// Absolute.
    const std::filesystem::path& directory() const { return directory_; }

    /// The content of recording.json; empty in a plain EuRoC data set. Its names are in
    /// docs/recordings.md; a value may have any type.
    const nlohmann::json& description() const { return *description_; }
    bool isPlainEuroc() const;
    /// Whether the recorder did not finish. The files are then complete up to their last line.
    bool isCutOff() const;

    /// In the order of recording.json.
    const std::vector<StreamInfo>& streams() const { return streams_; }
    /// @return null if it was not recorded.
    const StreamInfo* findStream(std::string_view name) const;

    /// Opens a stream. The titles are those of Fields: EuRoC's are translated to them.
    CsvReader open(const StreamInfo& stream) const;

    /// In the order of their directories.
    const std::vector<CameraInfo>& cameras() const { return cameras_; }
    ImageCursor images(const CameraInfo& camera) const;
    /// Path of the image with that time stamp (of its frame set) in a recording of this project.
    /// The file does not exist if the frame was not received.
    std::filesystem::path imageFile(const CameraInfo& camera, int64_t timestamp) const;

    /// Opens the ground truth, which has EuRoC's titles; empty if there is none.
    std::optional<CsvReader> groundTruth() const;

  private:
    void readDescription();
    void findStreams();
    void findCameras();

    std::filesystem::path directory_;
    std::unique_ptr<nlohmann::json> description_;
    std::vector<StreamInfo> streams_;
    std::vector<CameraInfo> cameras_;
};

}  // namespace Recording
