// The service keeps the callback and calls it on a HIDL thread until the process ends, so the log
// may be gone.
#include "camera/mux_state_log.h"

#include <fmt/format.h>
#include <vek/sensors/factories.h>

#include <chrono>
#include <cstdint>
#include <mutex>
#include <utility>

#include "camera/camera_names.h"
#include "recording/fields.h"

using namespace Vek::Sensors;

namespace {

/// A row for one mux state; texts have blanks between their words.
struct MuxStateRow {
    int64_t validFrom = 0;
    uint32_t state = 0;
    std::string mode;
    std::string secondaryMode;
    std::string purposes;
    /// SLOT/CAMERA/FRAME_TYPE for each camera of each slot.
    std::string slots;
};

MuxStateRow rowOf(const FrameSetConfigurationUpdate& update) {
    MuxStateRow row;
    row.validFrom = static_cast<int64_t>(update.value);
    row.state = update.header;
    row.mode = update.muxMode.name;
    row.secondaryMode = update.muxMode.secondaryName;
    row.purposes = fmt::format("{}", fmt::join(update.muxMode.purposes, " "));
    for (size_t slot = 0; slot < update.slotConfigurations.size(); ++slot) {
        for (const CameraPerSlotConfiguration& camera : update.slotConfigurations[slot].cameras) {
            row.slots += fmt::format("{}{}/{}/{}", row.slots.empty() ? "" : " ", slot,
                                     camera.cameraId, static_cast<uint32_t>(camera.frameType));
        }
    }
    return row;
}

Recording::Field<MuxStateRow> words(const char* name, std::string MuxStateRow::*member) {
    return Recording::computed<MuxStateRow>(
        name, "", [member](const MuxStateRow& row) { return row.*member; },
        [member](MuxStateRow& row, const std::string& text) {
            row.*member = text;
            return true;
        });
}

}  // namespace

template <>
struct Recording::Fields<MuxStateRow> {
    static FieldList<MuxStateRow> list() {
        // Not the row's timestamp, because several states may have the same time.
        return {number("valid_from", "ns", &MuxStateRow::validFrom),
                number("mux_state", "", &MuxStateRow::state),
                words("mode", &MuxStateRow::mode),
                words("secondary_mode", &MuxStateRow::secondaryMode),
                words("purposes", &MuxStateRow::purposes),
                words("slots", &MuxStateRow::slots)};
    }
};

struct MuxStateLog::Sink {
    void add(const FrameSetConfigurationUpdate& update) {
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        fmt::memory_buffer row;
        fmt::format_to(fmt::appender(row), "{},", std::chrono::nanoseconds(now).count());
        Recording::fieldsOf<MuxStateRow>().appendRow(row, rowOf(update));
        row.push_back('\n');
        const std::lock_guard lock(mutex);
        if (recorder != nullptr) {
            recorder->add(number, {row.data(), row.size()}, 1);
        }
    }

    std::mutex mutex;
    /// Null when the log is gone.
    Recording::Recorder* recorder;
    size_t number;
};

std::string MuxStateLog::titles() {
    return Recording::fieldsOf<MuxStateRow>().titles();
}

MuxStateLog::MuxStateLog(Recording::Recorder& recorder, size_t number) : sink_(new Sink) {
    sink_->recorder = &recorder;
    sink_->number = number;
    const auto provider = createCameraProvider();
    for (const FrameType type : streamFrameTypes()) {
        stream_ = stream_ || provider == nullptr ? std::move(stream_)
                                                 : provider->getStream(type, "sensorctl");
    }
    if (stream_ != nullptr) {
        composite_ = createStreamCompositor()->createCompositeStream("sensorctl");
        stream_->stream().addTo(*composite_);
        sink_->add(stream_->registerFrameSetConfigurationUpdateCallback(
            [sink = sink_](const FrameSetConfigurationUpdate& update) { sink->add(update); }));
    }
}

MuxStateLog::~MuxStateLog() {
    const std::lock_guard lock(sink_->mutex);
    sink_->recorder = nullptr;
}
