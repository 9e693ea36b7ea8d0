// What is in the buffer is another process's: nothing may be read outside of it.
#include "camera/picture.h"

#include <fmt/format.h>

#include <string>

#include "camera/camera_names.h"
#include "failure.h"
#include "output_file.h"

using namespace Vek::Sensors;

Recording::ImageView imageIn(const CameraFrame& frame, gsl::span<const std::byte> buffer) {
    const auto refuse = [&frame](const std::string& reason) {
        throw Failure(ExitCode::FAILED, fmt::format("frame {} of camera {} {}", frame.sequence,
                                                    frame.cameraId, reason));
    };
    if (frame.frameType == FrameType::NOT_RECEIVED || frame.frameType == FrameType::INVALID) {
        refuse("has no image: " + nameOf(frame.frameType));
    }
    // The values are the same.
    const auto format = static_cast<Recording::PixelFormat>(frame.pixelFormat);
    const uint64_t rowSize = uint64_t{frame.width} * Recording::pixelSize(format);
    if (rowSize == 0 || frame.height == 0 || frame.width > Recording::kLongestSide ||
        frame.height > Recording::kLongestSide) {
        refuse(fmt::format("is {}x{} pixels of format {}", frame.width, frame.height,
                           nameOf(frame.pixelFormat)));
    }
    const uint64_t rowsBeforeLast = uint64_t{frame.height - 1} * frame.stride;
    if (frame.stride < rowSize || rowsBeforeLast + rowSize > buffer.size()) {
        refuse(
            fmt::format("is {}x{} pixels with a stride of {}, which its buffer of {} bytes "
                        "cannot hold",
                        frame.width, frame.height, frame.stride, buffer.size()));
    }
    return {frame.width, frame.height, format, reinterpret_cast<const uint8_t*>(buffer.data()),
            frame.stride};
}

void writePng(const std::filesystem::path& path, const Recording::Image& image) {
    const std::string png = Recording::encodePng(image, Recording::Compression::SMALL);
    OutputFile file(path);
    file.write(png);
    file.close();
}
