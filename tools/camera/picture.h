// Camera images as people look at them, and as files.
#pragma once

#include <vek/gsl.h>
#include <vek/sensors/frame_set.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <vector>

struct Picture {
    enum class Format { GREY, RGBA };

    uint32_t width;
    uint32_t height;
    Format format;
    /// Row after row, without gaps; a byte for each component.
    std::vector<uint8_t> components;
};

/// @param buffer the frame's. Throws Failure if the frame has no image, or one that the buffer
/// cannot hold.
Picture pictureOf(const Vek::Sensors::CameraFrame& frame, gsl::span<const std::byte> buffer);

/// Replaces a file of that name. Throws Failure with the name and the reason.
void writePng(const std::filesystem::path& path, const Picture& picture);
