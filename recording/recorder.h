// Accepts records from several receiving threads; other threads write them to disk.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "recording/image.h"
#include "recording/writer.h"

namespace Recording {

/// An image of a frame set.
struct FrameView {
    /// Index in Plan::cameras.
    size_t camera;
    ImageView image;
};

/// Problem: a camera service has few buffers and needs them back soon, samples arrive a thousand
/// times a second, and a disk may take half a second for one write. So the receiving threads only
/// copy: a writer thread writes rows, and workers encode and write images. A row of a frame set is
/// written after its images, and in the order of the stream.
///
/// Memory is bounded: frame sets for which there is no room are left out as a whole and counted. If
/// the disk is too slow even for rows, the recording ends with an error.
///
/// With a snapshot, everything is kept in memory instead, and finish() writes the last seconds.
///
/// Threading: add and addFrameSet may be called from any thread, but for each stream from one at a
/// time; the other methods from one thread.
class Recorder {
  public:
    struct Options {
        Compression compression = Compression::FAST;
        /// Keeps only records of the last period of this length, in memory.
        std::optional<std::chrono::nanoseconds> snapshot{};
        /// Memory limit of images that wait for a worker or the disk.
        size_t mostImageBytes = size_t{256} << 20;
        unsigned workers = 2;
    };

    struct Progress {
        uint64_t rows = 0;
        uint64_t frameSets = 0;
        uint64_t frameSetsLeftOut = 0;
        /// Bytes written.
        uint64_t bytes = 0;
        /// Bytes that wait to be written, or are kept for the snapshot.
        uint64_t waitingBytes = 0;
    };

    Recorder(std::unique_ptr<Writer> writer, const Options& options);
    /// Discards records that are not written yet.
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    const Plan& plan() const { return writer_->plan(); }

    /// Adds rows of a stream, each with a line end.
    void add(size_t stream, std::string_view rows, size_t count);

    /// What to do with a frame set for which there is no room.
    enum class WhenFull {
        LEAVE_OUT,
        /// Waits for room; for a service that its clients pace.
        WAIT,
    };

    /// Adds the row of a frame set and copies its images.
    void addFrameSet(size_t stream, std::string_view row, int64_t timestamp,
                     const std::vector<FrameView>& frames, WhenFull whenFull = WhenFull::LEAVE_OUT);

    Progress progress() const;

    /// Throws Error if a write has failed; after that nothing is written.
    void check() const;

    /// Writes the remaining records and closes the recording. Throws Error like check().
    /// @param ends of the streams; this adds the number of frame sets left out.
    /// @param groundTruth a file to be copied in; empty for none.
    /// @return false if there is no recording, because no record was added.
    bool finish(std::vector<StreamEnd> ends, const std::filesystem::path& groundTruth);

  private:
    using Time = std::chrono::steady_clock::time_point;

    struct Shot {
        size_t camera;
        /// Its pixels are freed when it is encoded.
        Image image;
        /// The encoded image; freed when it is written.
        std::string png{};
    };

    enum class State { WAITING, IN_WORK, DONE };

    /// Rows, or one row of a frame set and its images.
    struct Item {
        Time time;
        size_t stream;
        std::string rows;
        /// Time stamp of the frame set.
        int64_t timestamp = 0;
        std::vector<Shot> shots{};
        State state = State::DONE;

        size_t bytes() const;
    };

    using Items = std::deque<std::unique_ptr<Item>>;

    void work();
    void encode(Item& item);
    void writeAll();
    void write(Item& item);
    Items takeDone();
    void keepLatest();
    void begin();
    void fail(const std::string& message);
    void endThreads(bool isGivingUp);
    std::vector<uint8_t> spareMemory();

    const std::unique_ptr<Writer> writer_;
    const Options options_;

    mutable std::mutex mutex_;
    std::condition_variable workToDo_;
    std::condition_variable somethingToWrite_;
    std::condition_variable roomForImages_;
    Items items_;
    /// Size of `items_` and of items that are being written.
    size_t waitingBytes_ = 0;
    /// Size of the pixels among them.
    size_t imageBytes_ = 0;
    /// Freed pixel memory, reused for the next frame sets.
    std::vector<std::vector<uint8_t>> spare_;
    struct FrameStream {
        std::optional<int64_t> lastTimestamp;
        uint64_t leftOut = 0;
    };
    /// By stream.
    std::vector<FrameStream> frameStreams_;
    Progress progress_;
    std::string error_;
    /// Ends the threads when everything is written, or (isGivenUp_) at once.
    bool isEnding_ = false;
    bool isGivenUp_ = false;

    /// Whether records are written to disk, not kept for the snapshot.
    std::atomic<bool> isWriting_;
    std::once_flag begun_;
    std::vector<std::thread> threads_;
};

}  // namespace Recording
