#include "camera/frame_set_server.h"

#include <fmt/format.h>
#include <log/log.h>

#include <algorithm>
#include <cstdint>
#include <thread>
#include <utility>

#include "time_units.h"

namespace Simulator {
namespace {

/// Cameras do not buffer images.
constexpr std::chrono::milliseconds kNoFifo{0};

}  // namespace

FrameSetServer::FrameSetServer(const CameraStreamPlan& plan, std::shared_ptr<ImageSource> source,
                               std::shared_ptr<Faults> faults, std::shared_ptr<WorldClock> clock)
    : StreamRegister(plan.name, kMaxClients),
      plan_(plan),
      source_(std::move(source)),
      faults_(std::move(faults)),
      clock_(std::move(clock)),
      resolutions_(plan.cameras.size(), Hidl::Resolution::FULL),
      frameRate_(plan.frameRate),
      sampler_(
          {static_cast<uint32_t>(plan.frameRate), 1}, clock_,
          [this](const Batch& batch) { deliver(batch); }, Sampler::Role::LEADS, kNoFifo) {
    faults_->addTarget(FaultTarget::FRAME_SETS, plan_.name);
    // Nothing is drawn before a client starts the stream.
    for (const CameraPlan& camera : plan_.cameras) {
        images_.push_back(
            std::make_unique<ImageBuffers>(camera.name, kBuffers, largestImage(plan_)));
    }
}

bool FrameSetServer::isValid() const {
    return std::all_of(images_.begin(), images_.end(),
                       [](const auto& buffers) { return buffers->isValid(); });
}

std::shared_ptr<const FrameSetClient> FrameSetServer::prepare(
    const ClientIdentity& identity, const FrameSetClient::Queue::Descriptor& queue,
    const Hidl::FmqConfig& config) {
    const auto client = std::make_shared<FrameSetClient>(identity, queue, config);
    if (!takeIn(client)) {
        return nullptr;
    }
    source_->prepare(plan_);
    ALOGI("%s: %s is prepared", plan_.name.c_str(), client->name.c_str());
    const std::lock_guard lock{mutex_};
    ++clientsSoFar_;
    return client;
}

Hidl::Result FrameSetServer::addCallback(const ClientIdentity& identity,
                                         const android::sp<Hidl::IFrameConfigCallback>& callback) {
    const std::lock_guard lock{mutex_};
    const ClientPointer client = findLocked(identity);
    if (client == nullptr || client->isStarted) {
        ALOGW("%s: refused a callback for the mux state: the stream of %s", plan_.name.c_str(),
              client == nullptr ? "the client is not prepared"
                                : fmt::format("{} is running", client->name).c_str());
        return Hidl::Result::BAD_STATE;
    }
    if (callback == nullptr || client->callbacks.size() >= kMaxCallbacks) {
        return Hidl::Result::FAILURE;
    }
    client->callbacks.push_back(callback);
    return Hidl::Result::SUCCESS;
}

std::vector<android::sp<Hidl::IFrameConfigCallback>> FrameSetServer::callbacks() const {
    const std::lock_guard lock{mutex_};
    std::vector<android::sp<Hidl::IFrameConfigCallback>> all;
    for (const ClientPointer& client : clients_) {
        all.insert(all.end(), client->callbacks.begin(), client->callbacks.end());
    }
    return all;
}

Hidl::Result FrameSetServer::overrideExposure(
    const ClientIdentity& identity,
    const std::function<Hidl::Result(ExposureControl::Claimant client)>& action) const {
    // Runs under the lock: otherwise the client could be removed in between, and its claim would
    // stay.
    const std::lock_guard lock{mutex_};
    const ClientPointer client = findLocked(identity);
    return client == nullptr ? Hidl::Result::BAD_STATE : action(client.get());
}

Hidl::CameraStreamMetadata FrameSetServer::metadata() const {
    Hidl::CameraStreamMetadata metadata{};
    metadata.cameras.resize(plan_.cameras.size());
    for (size_t i = 0; i < plan_.cameras.size(); ++i) {
        metadata.cameras[i].cameraId = plan_.cameras[i].id;
        metadata.cameras[i].buffers = images_[i]->descriptions();
    }
    return metadata;
}

Hidl::CameraStreamConfiguration FrameSetServer::configuration() const {
    constexpr ExposureLimits kLimits;
    const std::lock_guard lock{mutex_};
    std::vector<Hidl::CameraConfiguration> cameras;
    for (size_t i = 0; i < plan_.cameras.size(); ++i) {
        const ImageGeometry geometry = geometryOf(plan_, resolutions_[i]);
        Hidl::CameraConfiguration camera{};
        camera.cameraId = plan_.cameras[i].id;
        camera.width = geometry.width;
        camera.height = geometry.height;
        camera.stride = geometry.stride;
        camera.pixelFormat = plan_.pixelFormat;
        camera.resolution = resolutions_[i];
        camera.syncMode = syncMode_;
        camera.frameRate = frameRate_;
        camera.minExposureTime = kLimits.minExposureTime;
        camera.maxExposureTime = kLimits.maxExposureTime;
        camera.phaseOffset = phaseOffset_;
        camera.minAnalogGain = camera.minDigitalGain = kLimits.minGain;
        camera.maxAnalogGain = kLimits.maxAnalogGain;
        camera.maxDigitalGain = kLimits.maxDigitalGain;
        camera.cropWidth = camera.sensorWidth = plan_.width;
        camera.cropHeight = camera.sensorHeight = plan_.height;
        camera.binning = 1U << static_cast<uint32_t>(resolutions_[i]);
        camera.numBuffers = kBuffers;
        cameras.push_back(camera);
    }
    return {cameras, static_cast<uint32_t>(frameRate_)};
}

Hidl::Result FrameSetServer::setResolutions(const std::vector<Hidl::Resolution>& resolutions) {
    const bool areKnown = std::all_of(
        resolutions.begin(), resolutions.end(),
        [](Hidl::Resolution resolution) { return resolution <= Hidl::Resolution::QUARTER; });
    if (resolutions.size() != plan_.cameras.size() || !areKnown) {
        ALOGW("%s: refused resolutions for %zu cameras", plan_.name.c_str(), resolutions.size());
        return Hidl::Result::FAILURE;
    }
    if (isPlayedBack() && !std::all_of(resolutions.begin(), resolutions.end(), [](auto resolution) {
            return resolution == Hidl::Resolution::FULL;
        })) {
        ALOGW("%s: the images are played back as they are", plan_.name.c_str());
        return Hidl::Result::FAILURE;
    }
    const std::lock_guard lock{mutex_};
    resolutions_ = resolutions;
    return Hidl::Result::SUCCESS;
}

Hidl::Result FrameSetServer::setSyncMode(Hidl::CameraSyncMode mode) {
    if (mode > Hidl::CameraSyncMode::EXTERNAL) {
        return Hidl::Result::FAILURE;
    }
    const std::lock_guard lock{mutex_};
    syncMode_ = mode;
    return Hidl::Result::SUCCESS;
}

Hidl::Result FrameSetServer::setFrameRate(Hidl::FrameRate rate) {
    using Rate = Hidl::FrameRate;
    constexpr Rate kRates[] = {Rate::DEFAULT, Rate::FPS_15, Rate::FPS_30, Rate::FPS_60,
                               Rate::FPS_90};
    if (std::find(std::begin(kRates), std::end(kRates), rate) == std::end(kRates)) {
        return Hidl::Result::FAILURE;
    }
    if (isPlayedBack() && rate != Rate::DEFAULT && rate != plan_.frameRate) {
        ALOGW("%s: the images are played back as they came", plan_.name.c_str());
        return Hidl::Result::FAILURE;
    }
    const std::lock_guard lock{mutex_};
    frameRate_ = rate == Rate::DEFAULT ? plan_.frameRate : rate;
    sampler_.setPlan({static_cast<uint32_t>(frameRate_), 1});
    return Hidl::Result::SUCCESS;
}

void FrameSetServer::setPhaseOffset(uint64_t offset) {
    const std::lock_guard lock{mutex_};
    phaseOffset_ = offset;
}

void FrameSetServer::setEnabled(bool isEnabled) {
    const std::lock_guard lock{mutex_};
    isEnabled_ = isEnabled;
}

void FrameSetServer::setMux(uint32_t header, int64_t since, bool isServed) {
    const std::lock_guard lock{mutex_};
    nextMux_ = {header, since, isServed};
}

void FrameSetServer::stop() {
    isEnding_ = true;
    sampler_.stop();
    const std::lock_guard lock{mutex_};
    for (const ClientPointer& client : clients_) {
        client->collect();
    }
}

FrameSetCounts FrameSetServer::counts() const {
    const std::lock_guard lock{mutex_};
    FrameSetCounts counts = countsOfFormerClients_;
    for (const ClientPointer& client : clients_) {
        counts += client->counts(true);
    }
    return counts;
}

std::string FrameSetServer::summary() const {
    const FrameSetCounts all = counts();
    const std::lock_guard lock{mutex_};
    std::string line = fmt::format(
        "{}: {} frame sets handed out to {} clients, {} came back; {} twice, {} altered, {} never; "
        "{} reclaimed, {} dropped",
        plan_.name, all.handedOut, clientsSoFar_, all.cameBack, all.cameTwice, all.cameAltered,
        all.neverCameBack, all.reclaimed, all.dropped);
    if (const uint64_t missed = sampler_.missedSamples() + tooSoon_; missed > 0) {
        line += fmt::format(" ({} were not taken: the machine was too busy)", missed);
    }
    return line;
}

void FrameSetServer::deliver(const Batch& batch) {
    Hidl::FrameSet frameSet{};
    if (clock_->isPacedByClients() && !awaitRoom()) {
        return;
    }
    {
        const std::lock_guard lock{mutex_};
        for (const ClientPointer& client : clients_) {
            client->collect();
        }
        if (isTooSoonLocked(batch) || !beginLocked(batch, &frameSet)) {
            return;
        }
    }
    // Draws without the lock, because it takes long. Only this thread uses the buffers until they
    // are handed out.
    draw(batch, &frameSet);
    handOut(frameSet);
}

void FrameSetServer::handOut(const Hidl::FrameSet& frameSet) {
    std::vector<std::pair<ClientPointer, StreamEffects>> recipients;
    {
        const std::lock_guard lock{mutex_};
        recipients.swap(recipients_);
    }
    std::chrono::nanoseconds delay{0};
    for (const auto& [client, effects] : recipients) {
        delay = std::max(delay, effects.delay);
    }
    // A delay for one client delays all: they share one set of images.
    std::this_thread::sleep_for(delay);
    const std::lock_guard lock{mutex_};
    for (const auto& [client, effects] : recipients) {
        const bool isLost = effects.isStopped ||
                            (effects.dropShare > 0 &&
                             faults_->chance(plan_.name, frameSet.sequence) < effects.dropShare);
        Hidl::FrameSet seen = frameSet;
        for (uint32_t i = 0; effects.frameType && i < seen.numFrames; ++i) {
            seen.frames[i].frameType = *effects.frameType;
        }
        if (client->isStarted && !isLost && client->offer(seen)) {
            faults_->countWritten(1);
        }
    }
}

void FrameSetServer::play(Hidl::FrameSet frameSet) {
    if (clock_->isPacedByClients() && !awaitRoom()) {
        return;
    }
    uint32_t buffer = 0;
    {
        const std::lock_guard lock{mutex_};
        for (const ClientPointer& client : clients_) {
            client->collect();
        }
        buffer = takeBufferLocked();
    }
    const ImageGeometry geometry = geometryOf(plan_, Hidl::Resolution::FULL);
    frameSet.numFrames = std::min(frameSet.numFrames, static_cast<uint32_t>(plan_.cameras.size()));
    for (uint32_t i = 0; i < frameSet.numFrames; ++i) {
        Hidl::CameraFrame& frame = frameSet.frames[i];
        frame.bufferIndex = buffer;
        frame.width = geometry.width;
        frame.height = geometry.height;
        frame.stride = geometry.stride;
        frame.pixelFormat = plan_.pixelFormat;
        if (frame.frameType == plan_.frameType) {
            const bool isDrawn =
                source_->draw({plan_,
                               plan_.cameras[i],
                               frame.sequence,
                               frame.timestamp,
                               {frame.exposureTime, frame.analogGain, frame.digitalGain}},
                              {images_[i]->pixels(buffer), frame.pixelFormat, frame.width,
                               frame.height, frame.stride});
            frame.frameType = isDrawn ? frame.frameType : Hidl::FrameType::INVALID;
        }
    }
    handOut(frameSet);
}

void FrameSetServer::onChangeLocked() {
    const bool isListened = isAnyStartedLocked();
    if (isPlayedBack()) {
        onListened_(isListened);
    } else {
        sampler_.setBatchLimit(isListened ? 1 : 0);
    }
}

/// If the clients pace the world: waits until each of them has room for a frame set.
/// @return false if the service ends
bool FrameSetServer::awaitRoom() {
    while (!isEnding_) {
        ClientPointer busy;
        {
            const std::lock_guard lock{mutex_};
            for (const ClientPointer& client : clients_) {
                client->collect();
                if (client->isStarted && !client->hasRoom()) {
                    busy = client;
                }
            }
        }
        if (busy == nullptr) {
            return true;
        }
        busy->awaitRead();
    }
    return false;
}

/// After a delay the sampler delivers missed batches at once. A camera skips them: a client's queue
/// holds only one frame set, so it could not keep up.
bool FrameSetServer::isTooSoonLocked(const Batch& batch) {
    if (batch.arrival - lastFrameSet_ < batch.period / 2) {
        ++tooSoon_;
        return true;
    }
    lastFrameSet_ = batch.arrival;
    return false;
}

/// Time from the middle of the exposures until the last row has been read, for the longest possible
/// exposure.
std::chrono::nanoseconds FrameSetServer::exposureToArrival() const {
    constexpr ExposureLimits kLimits;
    return std::chrono::nanoseconds{kLimits.maxExposureTime / 2 +
                                    uint64_t{plan_.rowTime} * plan_.height / 2};
}

/// World time of the middle of the exposures.
int64_t FrameSetServer::worldTimeOf(const Batch& batch) const {
    return batch.firstWorldTime - exposureToArrival().count();
}

/// Fills in the frame set except for its images.
/// @return false if no frame set is due, because the stream is disabled or its mux mode does not
/// serve it
bool FrameSetServer::beginLocked(const Batch& batch, Hidl::FrameSet* frameSet) {
    const int64_t timestamp = toNanoseconds(batch.firstSample - exposureToArrival());
    if (timestamp >= nextMux_.since) {
        mux_ = nextMux_;
    }
    if (!isEnabled_ || !mux_.isServed) {
        return false;
    }
    const auto cameras = static_cast<uint32_t>(plan_.cameras.size());
    const std::vector<Hidl::ExposureGain> exposures =
        exposure_.next(cameras, source_->brightness(worldTimeOf(batch)));
    const uint32_t buffer = takeBufferLocked();
    frameSet->timestamp = timestamp;
    frameSet->sequence = nextSequence_++;
    frameSet->frameType = plan_.frameType;
    frameSet->numFrames = cameras;
    frameSet->muxState = mux_.header;
    for (uint32_t i = 0; i < cameras; ++i) {
        const ImageGeometry geometry = geometryOf(plan_, resolutions_[i]);
        Hidl::CameraFrame& frame = frameSet->frames[i];
        frame.timestamp = timestamp;
        frame.exposureTime = exposures[i].exposureTime;
        frame.analogGain = exposures[i].analogGain;
        frame.digitalGain = exposures[i].digitalGain;
        frame.cameraId = plan_.cameras[i].id;
        frame.bufferIndex = buffer;
        frame.sequence = frameSet->sequence;
        frame.frameType = plan_.frameType;
        frame.width = geometry.width;
        frame.height = geometry.height;
        frame.stride = geometry.stride;
        frame.pixelFormat = plan_.pixelFormat;
        frame.rowTime = plan_.rowTime << static_cast<uint32_t>(resolutions_[i]);
        frame.temperature = 36.5F;
    }
    return true;
}

/// Chooses the buffer for the images of the next frame set, and collects its recipients.
uint32_t FrameSetServer::takeBufferLocked() {
    bool isReused = false;
    recipients_.clear();
    for (const ClientPointer& client : clients_) {
        if (client->isStarted) {
            recipients_.emplace_back(client, faults_->onBatch(plan_.name, client->process));
            isReused = isReused || recipients_.back().second.isBufferReused;
        }
    }
    lastBuffer_ = isReused ? lastBuffer_ : freeBufferLocked();
    return lastBuffer_;
}

/// The lowest free buffer, so that memory of the others is not touched unless needed.
uint32_t FrameSetServer::freeBufferLocked() const {
    uint32_t buffer = 0;
    while (std::any_of(clients_.begin(), clients_.end(), [&](const ClientPointer& client) {
        return client->ledger().holds(buffer);
    })) {
        ++buffer;
    }
    return buffer;
}

void FrameSetServer::draw(const Batch& batch, Hidl::FrameSet* frameSet) {
    for (uint32_t i = 0; i < frameSet->numFrames; ++i) {
        Hidl::CameraFrame& frame = frameSet->frames[i];
        source_->draw({plan_,
                       plan_.cameras[i],
                       frame.sequence,
                       worldTimeOf(batch),
                       {frame.exposureTime, frame.analogGain, frame.digitalGain}},
                      {images_[i]->pixels(frame.bufferIndex), frame.pixelFormat, frame.width,
                       frame.height, frame.stride});
        frame.arrivalTimestamp =
            toNanoseconds(clock_->isPacedByClients() ? batch.arrival : clock_->now());
    }
}

void FrameSetServer::onRemovedLocked(FrameSetClient& client) {
    // Closes the client's account: a frame set that is being drawn is not handed out to it any
    // more.
    client.isStarted = false;
    client.collect();
    countsOfFormerClients_ += client.counts(client.isDisconnected);
    exposure_.stopOverriding(&client);
}

void FrameSetServer::onRelease(FrameSetClient& client, const char* reason) {
    const FrameSetCounts counts = client.counts(false);
    ALOGI("%s: %s %s; %llu frame sets handed out, %llu dropped", plan_.name.c_str(),
          client.name.c_str(), reason, static_cast<unsigned long long>(counts.handedOut),
          static_cast<unsigned long long>(counts.dropped));
}

}  // namespace Simulator
