// Shared memory of another process, mapped for reading.
#pragma once

#include <vek/gsl.h>

#include <cstddef>
#include <memory>

namespace Vek::OS {

/// The bytes stay mapped until the last owner is destroyed.
using SharedBytes = std::shared_ptr<const gsl::span<const std::byte>>;

/// @param fd not taken over; the caller may close it at once.
/// @return the whole region; null if the descriptor is not shared memory of a fixed size, or the
/// region is empty or cannot be mapped.
SharedBytes mapSharedBytes(int fd);

}  // namespace Vek::OS
