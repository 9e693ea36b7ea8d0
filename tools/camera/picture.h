// Camera images in buffers of the service, and as files.
#pragma once

#include <vek/gsl.h>
#include <vek/sensors/frame_set.h>

#include <cstddef>
#include <filesystem>
#include <optional>

#include "recording/image.h"

/// A view of a frame's image.
/// @param buffer the buffer of the frame. Throws Failure if the frame has no image, or one that
/// exceeds the buffer.
Recording::ImageView imageIn(const Vek::Sensors::CameraFrame& frame,
                             gsl::span<const std::byte> buffer);

/// Like imageIn(), but returns empty instead of throwing.
std::optional<Recording::ImageView> findImage(const Vek::Sensors::CameraFrame& frame,
                                              gsl::span<const std::byte> buffer);

/// Writes a PNG file. Replaces an existing file only when the new one is complete. Throws Failure
/// with the name and the reason.
void writePng(const std::filesystem::path& path, const Recording::Image& image);
