// Camera images in buffers of the service, and as files.
#pragma once

#include <vek/gsl.h>
#include <vek/sensors/frame_set.h>

#include <cstddef>
#include <filesystem>
#include <optional>

#include "recording/image.h"

/// A view of a frame's image.
/// @param buffer the frame's. Throws Failure if the frame has no image, or one that the buffer
/// cannot hold.
Recording::ImageView imageIn(const Vek::Sensors::CameraFrame& frame,
                             gsl::span<const std::byte> buffer);

/// The same; empty if there is no such image.
std::optional<Recording::ImageView> findImage(const Vek::Sensors::CameraFrame& frame,
                                              gsl::span<const std::byte> buffer);

/// Replaces a file of that name once the picture is whole. Throws Failure with the name and the
/// reason.
void writePng(const std::filesystem::path& path, const Recording::Image& image);
