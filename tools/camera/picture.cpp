// Converts pixels; PNG through libpng's simplified interface.
#include "camera/picture.h"

#include <fmt/format.h>
#include <png.h>

#include <algorithm>

#include "camera/camera_names.h"
#include "failure.h"

using namespace Vek::Sensors;

namespace {

/// In bytes; 0 for a format that is not known.
uint32_t pixelSize(PixelFormat format) {
    switch (format) {
        case PixelFormat::GREY_8:
            return 1;
        case PixelFormat::GREY_10:
        case PixelFormat::DEPTH_16:
            return 2;
        case PixelFormat::RGBA_8888:
            return 4;
    }
    return 0;
}

/// What is in the buffer is another process's: nothing may be read outside of it.
void check(const CameraFrame& frame, size_t bufferSize) {
    const auto refuse = [&frame](const std::string& reason) {
        throw Failure(ExitCode::FAILED, fmt::format("frame {} of camera {} {}", frame.sequence,
                                                    frame.cameraId, reason));
    };
    if (frame.frameType == FrameType::NOT_RECEIVED || frame.frameType == FrameType::INVALID) {
        refuse("has no image: " + nameOf(frame.frameType));
    }
    const uint64_t rowSize = uint64_t{frame.width} * pixelSize(frame.pixelFormat);
    if (rowSize == 0 || frame.height == 0) {
        refuse(fmt::format("is {}x{} pixels of format {}", frame.width, frame.height,
                           nameOf(frame.pixelFormat)));
    }
    const uint64_t rowsBeforeLast = uint64_t{frame.height - 1} * frame.stride;
    if (frame.stride < rowSize || rowsBeforeLast + rowSize > bufferSize) {
        refuse(
            fmt::format("is {}x{} pixels with a stride of {}, which its buffer of {} bytes "
                        "cannot hold",
                        frame.width, frame.height, frame.stride, bufferSize));
    }
}

/// The distances that fit a room take up the range of a byte.
uint8_t greyOfDepth(uint32_t millimetres) {
    constexpr uint32_t kFarthest = 4080;
    return static_cast<uint8_t>(std::min(millimetres, kFarthest) * 255 / kFarthest);
}

void appendPixel(PixelFormat format, const uint8_t* pixel, std::vector<uint8_t>& components) {
    const auto value = [pixel] { return pixel[0] | static_cast<uint32_t>(pixel[1]) << 8; };
    switch (format) {
        case PixelFormat::GREY_8:
        case PixelFormat::RGBA_8888:
            components.insert(components.end(), pixel, pixel + pixelSize(format));
            break;
        case PixelFormat::GREY_10:
            components.push_back(static_cast<uint8_t>(std::min(value(), 1023U) >> 2));
            break;
        case PixelFormat::DEPTH_16:
            components.push_back(greyOfDepth(value()));
            break;
    }
}

}  // namespace

Picture pictureOf(const CameraFrame& frame, gsl::span<const std::byte> buffer) {
    check(frame, buffer.size());
    const uint32_t size = pixelSize(frame.pixelFormat);
    Picture picture{
        frame.width,
        frame.height,
        frame.pixelFormat == PixelFormat::RGBA_8888 ? Picture::Format::RGBA : Picture::Format::GREY,
        {}};
    picture.components.reserve(size_t{frame.width} * frame.height * size);
    for (uint32_t y = 0; y < frame.height; ++y) {
        const auto* pixel =
            reinterpret_cast<const uint8_t*>(buffer.data()) + size_t{y} * frame.stride;
        for (uint32_t x = 0; x < frame.width; ++x, pixel += size) {
            appendPixel(frame.pixelFormat, pixel, picture.components);
        }
    }
    return picture;
}

void writePng(const std::filesystem::path& path, const Picture& picture) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = picture.width;
    image.height = picture.height;
    image.format = picture.format == Picture::Format::RGBA ? PNG_FORMAT_RGBA : PNG_FORMAT_GRAY;
    if (png_image_write_to_file(&image, path.c_str(), 0, picture.components.data(), 0, nullptr) ==
        0) {
        throw Failure(ExitCode::FAILED,
                      fmt::format("cannot write {}: {}", path.string(), image.message));
    }
}
