// The threads that encode and write what the receiving threads add.
#include "recording/recorder.h"

#include <fmt/format.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <filesystem>
#include <utility>

#include "recording/error.h"

namespace Recording {

namespace {

/// At most this much is lost if the program is killed.
constexpr std::chrono::milliseconds kFlushInterval{200};

/// Minutes of all samples. A disk that is so far behind will not catch up.
constexpr size_t kMostRowBytes = size_t{64} << 20;

/// Memory limit of a snapshot; the oldest records are dropped first.
constexpr size_t kMostSnapshotBytes = size_t{2} << 30;

/// Rows of a stream are combined up to this size.
constexpr size_t kRowsOfOneItem = size_t{1} << 14;

/// Lowers the priority of encoding, so that it does not delay the receiving threads.
void beNice() {
    constexpr int kNice = 10;
    setpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid)), kNice);
}

}  // namespace

size_t Recorder::Item::bytes() const {
    size_t bytes = rows.size();
    for (const Shot& shot : shots) {
        bytes += shot.image.pixels.size() + shot.png.size();
    }
    return bytes;
}

Recorder::Recorder(std::unique_ptr<Writer> writer, const Options& options)
    : writer_(std::move(writer)),
      options_(options),
      frameStreams_(writer_->plan().streams.size()),
      isWriting_(!options.snapshot) {
    for (unsigned i = 0; i < options.workers; ++i) {
        threads_.emplace_back([this] { work(); });
    }
    threads_.emplace_back([this] { writeAll(); });
}

Recorder::~Recorder() {
    endThreads(true);
}

void Recorder::endThreads(bool isGivingUp) {
    {
        const std::lock_guard lock(mutex_);
        isEnding_ = true;
        isGivenUp_ = isGivenUp_ || isGivingUp;
    }
    workToDo_.notify_all();
    somethingToWrite_.notify_all();
    for (std::thread& thread : threads_) {
        thread.join();
    }
    threads_.clear();
}

void Recorder::add(size_t stream, std::string_view rows, size_t count) {
    if (count == 0) {
        return;
    }
    const std::lock_guard lock(mutex_);
    if (!error_.empty()) {
        return;
    }
    progress_.rows += count;
    waitingBytes_ += rows.size();
    Item* const last = items_.empty() ? nullptr : items_.back().get();
    if (isWriting_ && last != nullptr && last->stream == stream && last->shots.empty() &&
        last->rows.size() < kRowsOfOneItem) {
        last->rows += rows;
    } else {
        items_.push_back(std::make_unique<Item>(
            Item{std::chrono::steady_clock::now(), stream, std::string(rows)}));
    }
    if (isWriting_ && waitingBytes_ - imageBytes_ > kMostRowBytes) {
        error_ = "the disk is too slow for the samples";
    }
}

std::vector<uint8_t> Recorder::spareMemory() {
    const std::lock_guard lock(mutex_);
    if (spare_.empty()) {
        return {};
    }
    std::vector<uint8_t> memory = std::move(spare_.back());
    spare_.pop_back();
    return memory;
}

void Recorder::addFrameSet(size_t stream, std::string_view row, int64_t timestamp,
                           const std::vector<FrameView>& frames, WhenFull whenFull) {
    size_t bytes = 0;
    for (const FrameView& frame : frames) {
        const ImageView& image = frame.image;
        bytes += size_t{image.width} * image.height * pixelSize(image.format);
    }
    {
        std::unique_lock lock(mutex_);
        const auto hasRoom = [&] { return imageBytes_ + bytes <= options_.mostImageBytes; };
        if (whenFull == WhenFull::WAIT) {
            roomForImages_.wait(lock,
                                [&] { return hasRoom() || imageBytes_ == 0 || !error_.empty(); });
        }
        FrameStream& state = frameStreams_[stream];
        // Time stamps name the files, so they must be unique.
        const bool isLater = !state.lastTimestamp || timestamp > *state.lastTimestamp;
        if (!isLater || !hasRoom() || !error_.empty()) {
            ++state.leftOut;
            ++progress_.frameSetsLeftOut;
            return;
        }
        state.lastTimestamp = timestamp;
        ++progress_.frameSets;
        ++progress_.rows;
        imageBytes_ += bytes;
        waitingBytes_ += bytes + row.size();
    }
    auto item = std::make_unique<Item>(
        Item{std::chrono::steady_clock::now(), stream, std::string(row), timestamp});
    for (const FrameView& frame : frames) {
        item->shots.push_back({frame.camera, copyOf(frame.image, spareMemory())});
    }
    item->state = item->shots.empty() ? State::DONE : State::WAITING;
    const std::lock_guard lock(mutex_);
    items_.push_back(std::move(item));
    workToDo_.notify_one();
}

void Recorder::work() {
    beNice();
    std::unique_lock lock(mutex_);
    while (!isGivenUp_) {
        const auto waiting = std::find_if(items_.begin(), items_.end(), [](const auto& item) {
            return item->state == State::WAITING;
        });
        if (waiting == items_.end()) {
            if (isEnding_) {
                return;
            }
            workToDo_.wait(lock);
            continue;
        }
        Item& item = **waiting;
        item.state = State::IN_WORK;
        const size_t before = item.bytes();
        lock.unlock();
        try {
            encode(item);
        } catch (const std::exception& error) {
            fail(error.what());
        }
        lock.lock();
        for (Shot& shot : item.shots) {
            imageBytes_ -= shot.image.pixels.size();
            spare_.push_back(std::exchange(shot.image.pixels, {}));
        }
        waitingBytes_ -= before - item.bytes();
        item.state = State::DONE;
        roomForImages_.notify_all();
        if (isEnding_) {
            somethingToWrite_.notify_all();
        }
    }
}

void Recorder::begin() {
    std::call_once(begun_, [this] { writer_->begin(); });
}

void Recorder::encode(Item& item) {
    for (Shot& shot : item.shots) {
        shot.png = encodePng(shot.image, options_.compression);
        if (isWriting_) {
            begin();
            writer_->writeImage(shot.camera, item.timestamp, shot.png);
            shot.png = {};
        }
    }
}

void Recorder::writeAll() {
    std::unique_lock lock(mutex_);
    for (bool isLast = false; !isLast && !isGivenUp_;) {
        if (!isEnding_) {
            somethingToWrite_.wait_for(lock, kFlushInterval);
        }
        if (!isWriting_) {
            keepLatest();
            continue;
        }
        Items done = takeDone();
        if (done.empty() && isEnding_ && !items_.empty()) {
            somethingToWrite_.wait(lock);
            continue;
        }
        isLast = isEnding_ && items_.empty();
        lock.unlock();
        size_t bytes = 0;
        try {
            for (const auto& item : done) {
                bytes += item->bytes();
                write(*item);
            }
            if (writer_->hasBegun()) {
                writer_->flush();
            }
        } catch (const std::exception& error) {
            fail(error.what());
        }
        lock.lock();
        waitingBytes_ -= bytes;
    }
}

/// Takes the finished items at the front of each stream's queue.
Recorder::Items Recorder::takeDone() {
    Items done;
    Items left;
    std::vector<bool> isHeldUp(frameStreams_.size());
    for (auto& item : items_) {
        isHeldUp[item->stream] = isHeldUp[item->stream] || item->state != State::DONE;
        (isHeldUp[item->stream] ? left : done).push_back(std::move(item));
    }
    items_ = std::move(left);
    return done;
}

void Recorder::keepLatest() {
    const Time oldest = std::chrono::steady_clock::now() - *options_.snapshot;
    while (!items_.empty() && items_.front()->state == State::DONE &&
           (items_.front()->time < oldest || waitingBytes_ > kMostSnapshotBytes)) {
        waitingBytes_ -= items_.front()->bytes();
        items_.pop_front();
    }
}

void Recorder::write(Item& item) {
    begin();
    for (Shot& shot : item.shots) {
        if (!shot.png.empty()) {
            writer_->writeImage(shot.camera, item.timestamp, shot.png);
        }
        writer_->setImageSize(shot.camera, shot.image.width, shot.image.height);
        writer_->writeImageRow(shot.camera, item.timestamp);
    }
    writer_->writeRows(item.stream, item.rows);
}

void Recorder::fail(const std::string& message) {
    const std::lock_guard lock(mutex_);
    error_ = error_.empty() ? message : error_;
    isGivenUp_ = true;
    workToDo_.notify_all();
    somethingToWrite_.notify_all();
    roomForImages_.notify_all();
}

Recorder::Progress Recorder::progress() const {
    const std::lock_guard lock(mutex_);
    Progress progress = progress_;
    progress.bytes = writer_->bytes();
    progress.waitingBytes = waitingBytes_;
    return progress;
}

void Recorder::check() const {
    const std::lock_guard lock(mutex_);
    if (!error_.empty()) {
        throw Error(error_);
    }
}

bool Recorder::finish(std::vector<StreamEnd> ends, const std::filesystem::path& groundTruth) {
    {
        const std::lock_guard lock(mutex_);
        if (!isWriting_) {
            keepLatest();
        }
        isWriting_ = true;
    }
    endThreads(false);
    check();
    if (!writer_->hasBegun()) {
        return false;
    }
    ends.resize(frameStreams_.size());
    for (size_t i = 0; i < ends.size(); ++i) {
        ends[i].frameSetsLeftOut = frameStreams_[i].leftOut;
    }
    if (!groundTruth.empty()) {
        writer_->addGroundTruth(groundTruth);
    }
    writer_->finish(ends);
    return true;
}

}  // namespace Recording
