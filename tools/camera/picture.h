// Camera images as people look at them, and as files.
#pragma once

#include <vek/gsl.h>
#include <vek/sensors/frame_set.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <vector>

struct Picture {
    enum class Format { GREY_8, GREY_16, RGBA_8 };

    uint32_t width;
    uint32_t height;
    Format format;
    /// Row after row, without gaps. Components of 16 bits are in the order of the machine; those of
    /// 10 bits are spread over all 16, those of depth are in mm.
    std::vector<uint8_t> components;
};

/// @param buffer the frame's. Throws Failure if the frame has no image, or one that the buffer
/// cannot hold.
Picture pictureOf(const Vek::Sensors::CameraFrame& frame, gsl::span<const std::byte> buffer);

/// Replaces a file of that name once the picture is whole. Throws Failure with the name and the
/// reason.
void writePng(const std::filesystem::path& path, const Picture& picture);
