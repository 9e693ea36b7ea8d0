// The texts of frame sets, field by field.
#include "camera/camera_records.h"

#include <algorithm>
#include <iterator>

#include "camera/camera_names.h"

using Vek::Sensors::CameraFrame;
using Vek::Sensors::FrameSet;
using Vek::Sensors::kMaxFrameSetSize;

namespace {

constexpr const char* kFrameFields[] = {"timestamp_ns",     "arrival_timestamp_ns",
                                        "exposure_time_ns", "analog_gain",
                                        "digital_gain",     "camera",
                                        "buffer",           "sequence",
                                        "frame_type",       "width",
                                        "height",           "stride",
                                        "pixel_format",     "row_time_ns",
                                        "temperature_c"};

std::string csvTitles() {
    std::string titles = "timestamp_ns,sequence,frame_type,frames,mux_state";
    for (size_t i = 0; i < kMaxFrameSetSize; ++i) {
        for (const char* field : kFrameFields) {
            titles += fmt::format(",frame{}_{}", i, field);
        }
    }
    return titles;
}

/// The service's count may be anything.
size_t countOf(const FrameSet& frameSet) {
    return std::min<size_t>(frameSet.numFrames, kMaxFrameSetSize);
}

const std::string kTitles = csvTitles();

}  // namespace

const char* const RecordFormat<FrameSet>::kCsvTitles = kTitles.c_str();

std::optional<SampleHeader> RecordFormat<FrameSet>::header(const FrameSet& frameSet) {
    return SampleHeader{frameSet.timestamp, frameSet.sequence, false};
}

std::string RecordFormat<FrameSet>::describe(const FrameSet& frameSet) {
    if (countOf(frameSet) == 0) {
        return "no frames";
    }
    const CameraFrame& first = frameSet.frames[0];
    return fmt::format("{} of {}x{}  {:.2f} ms  gain {:.1f}  mux state {}", countOf(frameSet),
                       first.width, first.height, static_cast<double>(first.exposureTime) * 1e-6,
                       first.analogGain * first.digitalGain, frameSet.muxState);
}

void RecordFormat<FrameSet>::appendCsv(fmt::memory_buffer& out, const FrameSet& frameSet) {
    fmt::format_to(std::back_inserter(out), "{},{},{},{},{}", frameSet.timestamp, frameSet.sequence,
                   static_cast<uint32_t>(frameSet.frameType), frameSet.numFrames,
                   frameSet.muxState);
    const size_t count = countOf(frameSet);
    for (size_t i = 0; i < count; ++i) {
        const CameraFrame& f = frameSet.frames[i];
        fmt::format_to(std::back_inserter(out), ",{},{},{},{},{},{},{},{},{},{},{},{},{},{},{}",
                       f.timestamp, f.arrivalTimestamp, f.exposureTime, f.analogGain, f.digitalGain,
                       f.cameraId, f.bufferIndex, f.sequence, static_cast<uint32_t>(f.frameType),
                       f.width, f.height, f.stride, static_cast<uint32_t>(f.pixelFormat), f.rowTime,
                       f.temperature);
    }
    const std::string empty((kMaxFrameSetSize - count) * std::size(kFrameFields), ',');
    out.append(empty.data(), empty.data() + empty.size());
}
