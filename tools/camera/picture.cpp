// Converts pixels; PNG through libpng's simplified interface.
#include "camera/picture.h"

#include <fmt/format.h>
#include <png.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "camera/camera_names.h"
#include "failure.h"
#include "output_file.h"

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

Picture::Format pictureFormatOf(PixelFormat format) {
    switch (format) {
        case PixelFormat::GREY_10:
        case PixelFormat::DEPTH_16:
            return Picture::Format::GREY_16;
        case PixelFormat::RGBA_8888:
            return Picture::Format::RGBA_8;
        case PixelFormat::GREY_8:
            break;
    }
    return Picture::Format::GREY_8;
}

void appendPixel(PixelFormat format, const uint8_t* pixel, std::vector<uint8_t>& components) {
    const size_t size = pixelSize(format);
    if (size != sizeof(uint16_t)) {
        components.insert(components.end(), pixel, pixel + size);
        return;
    }
    auto value = static_cast<uint32_t>(pixel[0] | pixel[1] << 8);
    if (format == PixelFormat::GREY_10) {
        value = std::min(value, 1023U);
        // The highest bits again below the lowest, so that white is white.
        value = value << 6 | value >> 4;
    }
    const auto component = static_cast<uint16_t>(value);
    components.resize(components.size() + size);
    std::memcpy(&*components.end() - size, &component, size);
}

uint32_t pngFormatOf(Picture::Format format) {
    switch (format) {
        case Picture::Format::GREY_16:
            return PNG_FORMAT_LINEAR_Y;
        case Picture::Format::RGBA_8:
            return PNG_FORMAT_RGBA;
        case Picture::Format::GREY_8:
            break;
    }
    return PNG_FORMAT_GRAY;
}

}  // namespace

Picture pictureOf(const CameraFrame& frame, gsl::span<const std::byte> buffer) {
    check(frame, buffer.size());
    const uint32_t size = pixelSize(frame.pixelFormat);
    Picture picture{frame.width, frame.height, pictureFormatOf(frame.pixelFormat), {}};
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
    image.format = pngFormatOf(picture.format);
    const auto encode = [&](void* memory, png_alloc_size_t& size) {
        if (png_image_write_to_memory(&image, memory, &size, 0, picture.components.data(), 0,
                                      nullptr) == 0) {
            throw Failure(ExitCode::FAILED,
                          fmt::format("cannot write {}: {}", path.string(), image.message));
        }
    };
    png_alloc_size_t size = 0;
    encode(nullptr, size);
    std::string encoded(size, '\0');
    encode(encoded.data(), size);
    OutputFile file(path);
    file.write({encoded.data(), size});
    file.close();
}
