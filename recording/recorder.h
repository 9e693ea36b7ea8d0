// Takes what streams deliver, from several threads, and lets others bring it to the disk.
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

/// An image as a stream delivers it.
struct FrameView {
    /// Its place in Plan::cameras.
    size_t camera;
    ImageView image;
};

/// Problem: a camera's service has few buffers and waits for them, samples come a thousand times a
/// second, and a disk may take half a second for one write. So those who receive only copy: rows go
/// to a thread that writes them, images to workers that encode and write them. A row of a frame set
/// is written after its images, and in the order of the stream.
///
/// Memory is bounded: frame sets for which there is no room are left out whole and counted, and a
/// disk that is too slow even for the rows ends the recording with an error.
///
/// With a snapshot, everything is kept in memory instead, and finish() writes the last seconds.
///
/// Threading: add and addFrameSet from any threads, each stream from one at a time; the other calls
/// from one thread.
class Recorder {
  public:
    struct Options {
        Compression compression = Compression::FAST;
        /// Keeps only records of the last period of this length, in memory.
        std::optional<std::chrono::nanoseconds> snapshot{};
        /// Of images that wait for a worker or the disk.
        size_t mostImageBytes = size_t{256} << 20;
        unsigned workers = 2;
    };

    struct Progress {
        uint64_t rows = 0;
        uint64_t frameSets = 0;
        uint64_t frameSetsLeftOut = 0;
        /// Written.
        uint64_t bytes = 0;
        /// Waiting, or kept for the snapshot.
        uint64_t waitingBytes = 0;
    };

    Recorder(std::unique_ptr<Writer> writer, const Options& options);
    /// Discards what is not written.
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    const Plan& plan() const { return writer_->plan(); }

    /// Takes rows of a stream, each with a line end.
    void add(size_t stream, std::string_view rows, size_t count);

    /// What becomes of a frame set for which there is no room.
    enum class WhenFull {
        LEAVE_OUT,
        /// For a service that goes on only when its clients have read.
        WAIT,
    };

    /// Takes the row of a frame set and copies its images.
    void addFrameSet(size_t stream, std::string_view row, int64_t timestamp,
                     const std::vector<FrameView>& frames, WhenFull whenFull = WhenFull::LEAVE_OUT);

    Progress progress() const;

    /// Throws Error if something could not be written; nothing more is written then.
    void check() const;

    /// Writes what is left and closes the recording. Throws Error as check() does.
    /// @param ends of the streams; the frame sets left out are put in here.
    /// @param groundTruth a file to be copied in; empty for none.
    /// @return whether there is a recording: nothing is written if nothing came.
    bool finish(std::vector<StreamEnd> ends, const std::filesystem::path& groundTruth);

  private:
    using Time = std::chrono::steady_clock::time_point;

    struct Shot {
        size_t camera;
        /// Without pixels once it is encoded.
        Image image;
        /// Empty once it is written.
        std::string png{};
    };

    enum class State { WAITING, IN_WORK, DONE };

    /// Rows, or one row of a frame set and its images.
    struct Item {
        Time time;
        size_t stream;
        std::string rows;
        /// Of the frame set.
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
    /// Of `items_` and what is being written.
    size_t waitingBytes_ = 0;
    /// Of the pixels among them.
    size_t imageBytes_ = 0;
    /// Memory of pixels for the next frame sets.
    std::vector<std::vector<uint8_t>> spare_;
    struct FrameStream {
        std::optional<int64_t> lastTimestamp;
        uint64_t leftOut = 0;
    };
    /// By stream.
    std::vector<FrameStream> frameStreams_;
    Progress progress_;
    std::string error_;
    /// The threads end when all is written, or at once.
    bool isEnding_ = false;
    bool isGivenUp_ = false;

    /// Whether what comes goes to the disk, not to the snapshot.
    std::atomic<bool> isWriting_;
    std::once_flag begun_;
    std::vector<std::thread> threads_;
};

}  // namespace Recording
