// Image memory that the sensor service shares with its clients.
#pragma once

#include <vek/gsl.h>

#include <cstddef>
#include <memory>

struct native_handle;

namespace Vek::OS {

/// A read-only view of one image buffer of the service.
///
/// The service writes the buffer whenever it holds it. What a client reads is whole and steady only
/// while the client has the frame set that names the buffer: inside the stream's callback.
///
/// Threading: immutable; may be used from any thread. Ownership: shared by std::shared_ptr; the
/// memory is mapped until the last owner goes, even if the service has ended by then.
class ImageBuffer {
  public:
    /// Made by the library. The handles stay the caller's.
    /// @param pixels, supplement each with shared memory of a fixed size as its first descriptor;
    /// the bytes of one that is null or has no such memory are empty.
    ImageBuffer(const native_handle* pixels, const native_handle* supplement);

    /// The whole buffer, of which the images start at the first byte; row by row, in the format and
    /// with the stride that the frame set gives, which must be checked against the size here.
    gsl::span<const std::byte> pixels() const { return viewOf(pixels_); }

    /// What the camera adds to an image, in a form of its own; often empty.
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
