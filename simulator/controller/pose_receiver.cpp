#include "controller/pose_receiver.h"

#include <cutils/ashmem.h>
#include <fmt/format.h>
#include <log/log.h>
#include <pthread.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <system_error>
#include <utility>
#include <vector>

#include "owned_handle.h"

namespace Simulator {
namespace {

using Hidl::Result;

constexpr size_t kCapacity = 64;  // poses
/// Poses that are sent faster wait in the queue, because consumers could not keep up.
constexpr std::chrono::microseconds kShortestInterval{250};
constexpr uint32_t kDataReadyBit = 1U << 0;
constexpr uint32_t kReadDoneBit = 1U << 1;

}  // namespace

PoseSender::PoseSender(const ClientIdentity& client, std::shared_ptr<ControllerFleet> fleet)
    : StreamingParty(client, 2), fleet_(std::move(fleet)), queue_(kCapacity) {
    config_.eventFlag = ownedHandle({ashmem_create_region("pose event flag", sizeof(uint32_t))});
    config_.readNotifyBit = kReadDoneBit;
    config_.dataReadyBit = kDataReadyBit;
    eventFlag_ = mapEventFlag(config_.eventFlag);
}

PoseSender::~PoseSender() {
    endReading();
}

bool PoseSender::beginReading() try {
    thread_ = std::thread([this] { run(); });
    return true;
} catch (const std::system_error&) {
    return false;
}

void PoseSender::endReading() {
    std::call_once(end_, [this] {
        isEnding_ = true;
        if (thread_.joinable()) {
            eventFlag_->wake(kDataReadyBit);
            thread_.join();
            drain();
        }
    });
}

void PoseSender::run() {
    pthread_setname_np(pthread_self(), "poses");
    // Waits with a limit: the client shares the word and may clear the bit that endReading() sets.
    constexpr int64_t kLongestWait = 500'000'000;  // ns
    while (!isEnding_) {
        uint32_t state = 0;
        eventFlag_->wait(kDataReadyBit, &state, kLongestWait);
        // Also sleeps after a signal without poses, so that such signals cannot keep the thread
        // busy.
        std::this_thread::sleep_for(std::max(drain(), size_t{1}) * kShortestInterval);
    }
}

size_t PoseSender::drain() {
    std::array<Hidl::PoseOutput, kCapacity> poses;
    const size_t count = std::min(queue_.availableToRead(), kCapacity);
    if (count == 0) {
        return 0;
    }
    const std::lock_guard lock{mutex_};
    if (!queue_.read(poses.data(), count)) {
        refuseLocked("has a queue with impossible counters");
        return 0;
    }
    eventFlag_->wake(kReadDoneBit);
    for (size_t i = 0; i < count; ++i) {
        if (isPose(poses[i]) && fleet_->deliverPose(poses[i])) {
            ledger_.enter(poses[i]);
        } else {
            refuseLocked("sends what is no pose of a paired controller");
        }
    }
    return count;
}

/// Logs the first refusal only.
void PoseSender::refuseLocked(const char* problem) {
    if (ledger_.counts().refused == 0) {
        ALOGW("poses: %s %s", name.c_str(), problem);
    }
    ledger_.enterRefused();
}

PoseCounts PoseSender::counts() const {
    const std::lock_guard lock{mutex_};
    return ledger_.counts();
}

Result PoseReceiver::prepare(const ClientIdentity& identity, std::shared_ptr<PoseSender>* sender) {
    const auto made = std::make_shared<PoseSender>(identity, fleet_);
    Refusal refusal = made->refusal();
    ClientPointer former;
    // Starts reading before the client is registered, because its death ends the reading.
    if (refusal == Refusal::NONE && !made->beginReading()) {
        refusal = Refusal::NO_THREAD;
    }
    if (refusal == Refusal::NONE) {
        refusal = enrol(made, [&] {
            const bool hasOne = findLocked(identity) != nullptr;
            former = hasOne ? nullptr : makeRoomLocked(*made);
            return hasOne ? Refusal::IS_KNOWN : Refusal::NONE;
        });
    }
    if (former != nullptr) {
        release(former, "gives way to another queue");
    }
    if (refusal != Refusal::NONE) {
        ALOGW("poses: refused %s: %s", made->name.c_str(), textOf(refusal).c_str());
        return refusal == Refusal::IS_KNOWN ? Result::BAD_STATE : Result::FAILURE;
    }
    ALOGI("poses: %s has a queue of %zu poses", made->name.c_str(), kCapacity);
    *sender = made;
    bool isTooLate = false;
    {
        const std::lock_guard lock{mutex_};
        ++senders_;
        isTooLate = isStopped_;
    }
    if (isTooLate) {
        made->endReading();
    }
    return Result::SUCCESS;
}

void PoseReceiver::onRelease(PoseSender& sender, const char* reason) {
    sender.endReading();
    const PoseCounts counts = sender.counts();
    ALOGI("poses: %s %s; %llu poses read", sender.name.c_str(), reason,
          static_cast<unsigned long long>(counts.accepted));
    const std::lock_guard lock{mutex_};
    ofReleased_ += counts;
}

void PoseReceiver::stop() {
    std::vector<ClientPointer> senders;
    {
        const std::lock_guard lock{mutex_};
        isStopped_ = true;
        senders = clients_;
    }
    for (const ClientPointer& sender : senders) {
        sender->endReading();
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
