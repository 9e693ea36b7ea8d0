// Frames come from another process, so an image must be checked against its buffer before it is
// read.
#include "camera/picture.h"

#include <fmt/format.h>

#include <cstdint>
#include <string>

#include "camera/camera_names.h"
#include "failure.h"
#include "output_file.h"

using namespace Vek::Sensors;

namespace {

/// The two enumerations have the same values.
Recording::PixelFormat formatOf(const CameraFrame& frame) {
    return static_cast<Recording::PixelFormat>(frame.pixelFormat);
}

/// Why the frame has no valid image in the buffer; empty if it has one.
std::string reasonAgainst(const CameraFrame& frame, gsl::span<const std::byte> buffer) {
    if (frame.frameType == FrameType::NOT_RECEIVED || frame.frameType == FrameType::INVALID) {
        return "has no image: " + nameOf(frame.frameType);
    }
    const uint64_t rowSize = uint64_t{frame.width} * Recording::pixelSize(formatOf(frame));
    if (rowSize == 0 || frame.height == 0 || frame.width > Recording::kLongestSide ||
        frame.height > Recording::kLongestSide) {
        return fmt::format("is {}x{} pixels of format {}", frame.width, frame.height,
                           nameOf(frame.pixelFormat));
    }
    const uint64_t rowsBeforeLast = uint64_t{frame.height - 1} * frame.stride;
    if (frame.stride < rowSize || rowsBeforeLast + rowSize > buffer.size()) {
        return fmt::format(
            "is {}x{} pixels with a stride of {}, which its buffer of {} bytes cannot hold",
            frame.width, frame.height, frame.stride, buffer.size());
    }
    return "";
}

}  // namespace

std::optional<Recording::ImageView> findImage(const CameraFrame& frame,
                                              gsl::span<const std::byte> buffer) {
    if (!reasonAgainst(frame, buffer).empty()) {
        return std::nullopt;
    }
    return Recording::ImageView{frame.width, frame.height, formatOf(frame),
                                reinterpret_cast<const uint8_t*>(buffer.data()), frame.stride};
}

Recording::ImageView imageIn(const CameraFrame& frame, gsl::span<const std::byte> buffer) {
    if (const auto image = findImage(frame, buffer)) {
        return *image;
    }
    throw Failure(ExitCode::FAILED, fmt::format("frame {} of camera {} {}", frame.sequence,
                                                frame.cameraId, reasonAgainst(frame, buffer)));
}

void writePng(const std::filesystem::path& path, const Recording::Image& image) {
    const std::string png = Recording::encodePng(image, Recording::Compression::SMALL);
    OutputFile file(path);
    file.write(png);
    file.close();
}
