#include "camera/image_buffers.h"

#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/mman.h>
#include <unistd.h>

#include <utility>

#include "owned_handle.h"

namespace Simulator {

ImageBuffers::ImageBuffers(const std::string& name, size_t count, size_t size) : size_(size) {
    for (size_t i = 0; i < count && isValid_; ++i) {
        isValid_ = add(name);
    }
}

ImageBuffers::~ImageBuffers() {
    for (const Buffer& buffer : buffers_) {
        munmap(buffer.pixels, size_);
    }
}

bool ImageBuffers::add(const std::string& name) {
    // Not ashmem, because that already has its final seals, and F_SEAL_FUTURE_WRITE is needed too.
    const android::base::unique_fd region(
        memfd_create(name.c_str(), MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (ftruncate(region.get(), static_cast<off_t>(size_)) != 0) {
        return false;
    }
    const std::string path = fmt::format("/proc/self/fd/{}", region.get());
    android::hardware::hidl_handle readOnly =
        ownedHandle({open(path.c_str(), O_RDONLY | O_CLOEXEC)});
    if (readOnly == nullptr) {
        return false;
    }
    void* const pixels = mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_SHARED, region.get(), 0);
    if (pixels == MAP_FAILED) {
        return false;
    }
    // A process with a descriptor could open the memory for writing through /proc; the seal
    // prevents writing all the same.
    fcntl(region.get(), F_ADD_SEALS,
          F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_FUTURE_WRITE | F_SEAL_SEAL);
    buffers_.push_back({std::move(readOnly), static_cast<uint8_t*>(pixels)});
    return true;
}

android::hardware::hidl_vec<Hidl::ImageBufferDescription> ImageBuffers::descriptions() const {
    android::hardware::hidl_vec<Hidl::ImageBufferDescription> descriptions(buffers_.size());
    for (size_t i = 0; i < buffers_.size(); ++i) {
        descriptions[i].pixels = buffers_[i].readOnly.getNativeHandle();
    }
    return descriptions;
}

}  // namespace Simulator
