// See pose_receiver.h.
#include "controller/pose_receiver.h"

#include <cutils/ashmem.h>
#include <fmt/format.h>
#include <log/log.h>
#include <pthread.h>

#include <algorithm>
#include <array>
#include <utility>

namespace Simulator {
namespace {

using Hal::Result;

constexpr size_t kCapacity = 64;  // poses
constexpr uint32_t kDataReadyBit = 1U << 0;
constexpr uint32_t kReadDoneBit = 1U << 1;

/// A handle of one page that holds the event flag's word; empty without memory.
android::hardware::hidl_handle makeEventFlagHandle() {
    constexpr size_t kPage = 4096;
    android::hardware::hidl_handle handle;
    const int region = ashmem_create_region("pose event flag", kPage);
    if (region >= 0) {
        native_handle_t* const native = native_handle_create(1, 0);
        native->data[0] = region;
        handle.setTo(native, true);
    }
    return handle;
}

}  // namespace

PoseSender::PoseSender(const android::sp<Hal::ISensorClient>& client,
                       std::shared_ptr<ControllerFleet> fleet)
    : RegisteredClient(client), fleet_(std::move(fleet)), queue_(kCapacity) {
    config_.eventFlag = makeEventFlagHandle();
    config_.readNotifyBit = kReadDoneBit;
    config_.dataReadyBit = kDataReadyBit;
    if (config_.eventFlag.getNativeHandle() != nullptr) {
        // Leaves the pointer null if it fails.
        android::hardware::EventFlag::createEventFlag(config_.eventFlag->data[0], 0, &eventFlag_);
    }
}

PoseSender::~PoseSender() {
    endReading();
    android::hardware::EventFlag::deleteEventFlag(&eventFlag_);
}

void PoseSender::beginReading() {
    thread_ = std::thread([this] { run(); });
}

void PoseSender::endReading() {
    isEnding_ = true;
    if (thread_.joinable()) {
        eventFlag_->wake(kDataReadyBit);
        thread_.join();
        drain();
    }
}

void PoseSender::run() {
    pthread_setname_np(pthread_self(), "poses");
    // The word is the client's, too, which may take back what endReading sets.
    constexpr int64_t kLongestWait = 500'000'000;  // ns
    while (!isEnding_) {
        uint32_t state = 0;
        eventFlag_->wait(kDataReadyBit, &state, kLongestWait);
        drain();
    }
}

void PoseSender::drain() {
    std::array<Hal::PoseOutput, kCapacity> poses;
    const size_t count = std::min(queue_.availableToRead(), kCapacity);
    if (count == 0) {
        return;
    }
    if (!queue_.read(poses.data(), count)) {
        ALOGW("poses: the counters of %s's queue are impossible", name.c_str());
        return;
    }
    eventFlag_->wake(kReadDoneBit);
    const std::lock_guard lock{mutex_};
    for (size_t i = 0; i < count; ++i) {
        if (isPose(poses[i]) && fleet_->deliverPose(poses[i])) {
            ledger_.enter(poses[i]);
        } else {
            ledger_.enterRefused();
        }
    }
}

PoseCounts PoseSender::counts() const {
    const std::lock_guard lock{mutex_};
    return ledger_.counts();
}

Result PoseReceiver::prepare(const android::sp<Hal::ISensorClient>& identity,
                             std::shared_ptr<PoseSender>* sender) {
    if (identity == nullptr) {
        ALOGW("poses: refused a stream without a client");
        return Result::FAILURE;
    }
    const auto made = std::make_shared<PoseSender>(identity, fleet_);
    made->name = describeCaller(identity);
    {
        const std::lock_guard lock{mutex_};
        if (findLocked(identity) != nullptr) {
            ALOGW("poses: %s has its queue already", made->name.c_str());
            return Result::BAD_STATE;
        }
    }
    const char* problem = "there is no memory for its queue";
    if (made->isValid()) {
        // Before its death can end the reading.
        made->beginReading();
        problem = enrol(made);
    }
    if (problem != nullptr) {
        ALOGW("poses: refused %s: %s", made->name.c_str(), problem);
        return Result::FAILURE;
    }
    {
        const std::lock_guard lock{mutex_};
        ++senders_;
    }
    ALOGI("poses: %s has a queue of %zu poses", made->name.c_str(), kCapacity);
    *sender = made;
    return Result::SUCCESS;
}

Result PoseReceiver::control(const android::sp<Hal::ISensorClient>& identity,
                             Hal::StreamCommand command) {
    if (identity == nullptr) {
        return Result::FAILURE;
    }
    ClientPointer sender;
    {
        const std::lock_guard lock{mutex_};
        sender = findLocked(identity);
        if (sender == nullptr) {
            return Result::BAD_STATE;
        }
        const bool start = command == Hal::StreamCommand::START;
        if (start || command == Hal::StreamCommand::STOP) {
            if (sender->isStarted == start) {
                return Result::IGNORED;
            }
            sender->isStarted = start;
            start ? fleet_->beginTracking() : fleet_->endTracking();
            return Result::SUCCESS;
        }
        if (command != Hal::StreamCommand::DISCONNECT) {
            return Result::FAILURE;
        }
        removeLocked(sender);
    }
    release(sender, "disconnected");
    return Result::SUCCESS;
}

void PoseReceiver::onRelease(PoseSender& sender, const char* reason) {
    sender.endReading();
    const PoseCounts counts = sender.counts();
    ALOGI("poses: %s %s; %llu poses read", sender.name.c_str(), reason,
          static_cast<unsigned long long>(counts.accepted));
    const std::lock_guard lock{mutex_};
    ofReleased_ += counts;
    if (sender.isStarted) {
        fleet_->endTracking();
    }
}

void PoseReceiver::stop() {
    std::vector<ClientPointer> last;
    {
        const std::lock_guard lock{mutex_};
        last.swap(clients_);
    }
    for (const ClientPointer& sender : last) {
        release(sender, "is left behind");
    }
}

std::string PoseReceiver::summary() const {
    const std::lock_guard lock{mutex_};
    PoseCounts counts = ofReleased_;
    for (const ClientPointer& sender : clients_) {
        counts += sender->counts();
    }
    return fmt::format(
        "poses of the state's owner: {} read of {} senders, {} missing, {} out of order, {} "
        "refused",
        counts.accepted, senders_, counts.missing, counts.misordered, counts.refused);
}

}  // namespace Simulator
