// Maps the two parts of an image buffer.
#include <cutils/native_handle.h>
#include <vek/os/image_buffer.h>

#include "os/shared_bytes.h"

namespace Vek::OS {
namespace {

SharedBytes mapFirstDescriptor(const native_handle* handle) {
    return handle == nullptr || handle->numFds < 1 ? nullptr : mapSharedBytes(handle->data[0]);
}

}  // namespace

ImageBuffer::ImageBuffer(const native_handle* pixels, const native_handle* supplement)
    : pixels_(mapFirstDescriptor(pixels)), supplement_(mapFirstDescriptor(supplement)) {}

}  // namespace Vek::OS
