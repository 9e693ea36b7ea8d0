// Image memory that the sensor service shares with its clients.
#pragma once

#include <vek/gsl.h>

#include <cstddef>
#include <memory>

struct native_handle;

namespace Vek::OS {

/// A read-only view of one image buffer of the service.
///
/// The service may write the buffer at any time except while the client holds the frame set that
/// names it, which is inside the stream's callback. What a client reads at other times may be torn.
///
/// Threading: immutable; may be used from any thread. Ownership: shared by std::shared_ptr; the
/// memory stays mapped until the last owner is destroyed, even after the service's end.
class ImageBuffer {
  public:
    /// Made by the library. The handles stay the caller's.
    /// @param pixels, supplement each with shared memory of a fixed size as its first descriptor;
    /// if one is null or has no such memory, its span is empty.
    ImageBuffer(const native_handle* pixels, const native_handle* supplement);

    /// The whole buffer. The image starts at the first byte, row by row, in the format and with the
    /// stride that the frame set gives; check both against the size of this span.
    gsl::span<const std::byte> pixels() const { return viewOf(pixels_); }

    /// Data that the camera adds to an image, in a format of its own; often empty.
    gsl::span<const std::byte> supplement() const { return viewOf(supplement_); }

  private:
    using SharedBytes = std::shared_ptr<const gsl::span<const std::byte>>;

    static gsl::span<const std::byte> viewOf(const SharedBytes& bytes) {
        return bytes == nullptr ? gsl::span<const std::byte>{} : *bytes;
    }

    SharedBytes pixels_;
    SharedBytes supplement_;
};

}  // namespace Vek::OS
