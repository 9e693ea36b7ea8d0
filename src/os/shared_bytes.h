// Shared memory of another process, mapped for reading.
#pragma once

#include <vek/gsl.h>

#include <cstddef>
#include <memory>

namespace Vek::OS {

/// The bytes stay mapped until the last owner goes.
using SharedBytes = std::shared_ptr<const gsl::span<const std::byte>>;

/// @param fd stays the caller's; may be closed at once.
/// @return all of the region, or null if the descriptor is no shared memory of a fixed size, is
/// empty or cannot be mapped.
SharedBytes mapSharedBytes(int fd);

}  // namespace Vek::OS
