#include "faults.h"

#include <fmt/format.h>
#include <log/log.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <iterator>

#include "calls.h"
#include "world/random.h"

namespace Simulator {
namespace {

bool isFor(FaultTarget kind, FaultTarget target) {
    return kind == target || (kind == FaultTarget::STREAM && (target == FaultTarget::SAMPLES ||
                                                              target == FaultTarget::FRAME_SETS));
}

}  // namespace

Faults::Faults(FaultSettings settings) : settings_(settings) {
    for (const Call& call : allCalls()) {
        targets_.emplace(FaultTarget::CALL, call.name);
    }
}

void Faults::addTarget(FaultTarget kind, const std::string& name) {
    const std::lock_guard lock{mutex_};
    targets_.emplace(kind, targetName(name));
}

std::vector<std::string> Faults::targets() const {
    const std::lock_guard lock{mutex_};
    std::vector<std::string> names;
    for (const auto& [kind, name] : targets_) {
        names.push_back(name);
    }
    return names;
}

bool Faults::hasTargetLocked(const Fault& fault) const {
    return std::any_of(targets_.begin(), targets_.end(), [&](const auto& target) {
        return target.second == fault.target && isFor(targetOf(fault.kind), target.first);
    });
}

uint32_t Faults::set(const Fault& fault, std::string* error) {
    const std::lock_guard lock{mutex_};
    if (!hasTargetLocked(fault)) {
        *error = fmt::format(
            "there is no '{}' that can have this fault; 'ctl targets' shows what there is",
            fault.target);
        return 0;
    }
    const auto isActive = [](const Active& active) { return !active.isOver; };
    if (static_cast<size_t>(std::count_if(faults_.begin(), faults_.end(), isActive)) >=
        kMaxFaults) {
        *error = fmt::format("there are {} faults, which is the most", kMaxFaults);
        return 0;
    }
    faults_.push_back({nextNumber_++, fault});
    isAny_ = true;
    ALOGW("fault %u begins: %s", faults_.back().number, toText(fault).c_str());
    return faults_.back().number;
}

bool Faults::clear(uint32_t number) {
    const std::lock_guard lock{mutex_};
    const auto found = std::find_if(faults_.begin(), faults_.end(), [&](const Active& active) {
        return active.number == number && !active.isOver;
    });
    if (found == faults_.end()) {
        return false;
    }
    found->isOver = true;
    ALOGW("fault %s ends", describe(*found).c_str());
    isAny_ = std::any_of(faults_.begin(), faults_.end(),
                         [](const Active& active) { return !active.isOver; });
    changed_.notify_all();
    return true;
}

void Faults::clearAll() {
    std::vector<uint32_t> numbers;
    {
        const std::lock_guard lock{mutex_};
        for (const Active& active : faults_) {
            numbers.push_back(active.number);
        }
    }
    for (const uint32_t number : numbers) {
        clear(number);
    }
}

std::string Faults::describe(const Active& active) {
    return fmt::format("{}: {}: came {} times", active.number, toText(active.fault), active.taken);
}

std::vector<std::string> Faults::active() const {
    const std::lock_guard lock{mutex_};
    std::vector<std::string> lines;
    for (const Active& active : faults_) {
        if (!active.isOver) {
            lines.push_back(describe(active));
        }
    }
    return lines;
}

std::vector<std::string> Faults::account() const {
    const std::lock_guard lock{mutex_};
    std::vector<std::string> lines;
    for (const Active& active : faults_) {
        lines.push_back("fault " + describe(active) + (active.isOver ? "" : ", still there"));
    }
    return lines;
}

/// Whether the fault takes effect now. Counts the call or batch.
bool Faults::takeLocked(Active* active, int process) {
    const Fault& fault = active->fault;
    if (active->isOver || active->isSpent || (fault.process && *fault.process != process)) {
        return false;
    }
    ++active->seen;
    if (fault.nth > 0 && active->seen != fault.nth) {
        return false;
    }
    const Random random{settings_.seed, toText(fault)};
    if (fault.probability < 1 && random.uniform(active->seen, 0, 1) >= fault.probability) {
        return false;
    }
    ++active->taken;
    if (active->taken >= active->nextLine) {
        active->nextLine *= 2;
        ALOGW("fault %s, now for process %d", describe(*active).c_str(), process);
    }
    active->isSpent = fault.isOnce || fault.nth > 0;
    // HANG stays active until it is cleared.
    active->isOver = active->isSpent && fault.kind != FaultKind::HANG;
    return true;
}

template <typename Action>
void Faults::forEachTaken(FaultTarget target, const std::string& name, int process,
                          const Action& action) {
    for (Active& active : faults_) {
        if (isFor(targetOf(active.fault.kind), target) && active.fault.target == name &&
            takeLocked(&active, process)) {
            action(active);
        }
    }
}

Hidl::Result Faults::beginCall(const std::string& call, int process) {
    Hidl::Result result = Hidl::Result::SUCCESS;
    if (!isAny_.load(std::memory_order_relaxed)) {
        return result;
    }
    std::unique_lock lock{mutex_};
    std::chrono::nanoseconds delay{0};
    std::vector<uint32_t> hangs;
    forEachTaken(FaultTarget::CALL, call, process, [&](const Active& active) {
        if (active.fault.kind == FaultKind::REFUSE) {
            result = active.fault.result;
        } else if (active.fault.kind == FaultKind::LATE) {
            delay += active.fault.time;
        } else {
            hangs.push_back(active.number);
        }
    });
    changed_.wait_for(lock, delay, [this] { return isStopped_; });
    changed_.wait(lock, [&] {
        return isStopped_ || std::none_of(faults_.begin(), faults_.end(), [&](const Active& f) {
                   return !f.isOver &&
                          std::find(hangs.begin(), hangs.end(), f.number) != hangs.end();
               });
    });
    return result;
}

StreamEffects Faults::onBatch(const std::string& stream, int process) {
    StreamEffects effects;
    if (!isAny_.load(std::memory_order_relaxed)) {
        return effects;
    }
    const std::string name = targetName(stream);
    const std::lock_guard lock{mutex_};
    const auto apply = [&effects](const Active& active) {
        effects.isAny = true;
        const Fault& fault = active.fault;
        switch (fault.kind) {
            case FaultKind::STOP:
                effects.isStopped = true;
                break;
            case FaultKind::DROP:
                effects.dropShare = std::max(effects.dropShare, fault.number);
                break;
            case FaultKind::DELAY:
                effects.delay = std::min<std::chrono::nanoseconds>(fault.time, kMaxDelay);
                break;
            case FaultKind::STICK:
                effects.isStuck = true;
                break;
            case FaultKind::NOT_A_NUMBER:
                effects.isNotANumber = true;
                break;
            case FaultKind::CLIP:
                effects.limit = fault.number;
                break;
            case FaultKind::JUMP:
                effects.jump += fault.time;
                break;
            case FaultKind::WRAP:
                effects.isWrapped = true;
                break;
            case FaultKind::CORRUPT:
                effects.isCorrupt = true;
                break;
            case FaultKind::NOT_RECEIVED:
                effects.frameType = Hidl::FrameType::NOT_RECEIVED;
                break;
            case FaultKind::INVALID:
                effects.frameType = Hidl::FrameType::INVALID;
                break;
            case FaultKind::REUSE:
                effects.isBufferReused = true;
                break;
            default:
                break;
        }
    };
    for (const FaultTarget kind : {FaultTarget::SAMPLES, FaultTarget::FRAME_SETS}) {
        if (targets_.end() != std::find(targets_.begin(), targets_.end(),
                                        std::pair<const FaultTarget, std::string>(kind, name))) {
            forEachTaken(kind, name, process, apply);
        }
    }
    return effects;
}

ControllerEffects Faults::onController(const std::string& controller) {
    ControllerEffects effects;
    if (!isAny_.load(std::memory_order_relaxed)) {
        return effects;
    }
    const std::lock_guard lock{mutex_};
    forEachTaken(FaultTarget::CONTROLLER, targetName(controller), 0, [&](const Active& active) {
        effects.isDisconnected |= active.fault.kind == FaultKind::DISCONNECT;
        effects.isAsleep |= active.fault.kind == FaultKind::SLEEP;
        effects.isFlat |= active.fault.kind == FaultKind::FLAT;
        effects.isOutOfReach |= active.fault.kind == FaultKind::OUT_OF_REACH;
    });
    return effects;
}

double Faults::chance(const std::string& stream, uint64_t record) const {
    return Random{settings_.seed, stream}.uniform(record, 0, 1);
}

void Faults::countWritten(uint64_t records) {
    const uint64_t total = recordsWritten_.fetch_add(records) + records;
    if (settings_.dieAfterRecords && total >= *settings_.dieAfterRecords) {
        die();
    }
}

void Faults::stop() {
    const std::lock_guard lock{mutex_};
    isStopped_ = true;
    changed_.notify_all();
}

void die(std::optional<std::chrono::nanoseconds> back, const std::vector<std::string>& options) {
    if (back) {
        // Replaces the program: its sockets and memory are gone, as after a death, but the process
        // number stays, so that the parent can end it.
        std::ifstream file{"/proc/self/cmdline"};
        std::vector<std::string> arguments;
        for (std::string argument; std::getline(file, argument, '\0');) {
            arguments.push_back(argument);
        }
        arguments.insert(arguments.end(), options.begin(), options.end());
        arguments.push_back(
            fmt::format("--return-after={}", std::chrono::duration<double>(*back).count()));
        std::vector<char*> pointers;
        std::transform(arguments.begin(), arguments.end(), std::back_inserter(pointers),
                       [](std::string& argument) { return argument.data(); });
        pointers.push_back(nullptr);
        execv("/proc/self/exe", pointers.data());
        ALOGE("cannot come back");
    }
    kill(getpid(), SIGKILL);
    while (true) {
        pause();
    }
}

}  // namespace Simulator
