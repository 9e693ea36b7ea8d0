// The image memory of one camera, shared with the clients.
#pragma once

#include <hidl/HidlSupport.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "hal.h"

namespace Simulator {

/// Several buffers of one size. Only the service can write them: clients get descriptors that
/// cannot be mapped for writing.
class ImageBuffers {
  public:
    ImageBuffers(const std::string& name, size_t count, size_t size);
    ~ImageBuffers();
    ImageBuffers(const ImageBuffers&) = delete;
    ImageBuffers& operator=(const ImageBuffers&) = delete;

    /// False if memory was exhausted; then the buffers must not be used.
    bool isValid() const { return isValid_; }

    uint8_t* pixels(size_t index) const { return buffers_[index].pixels; }

    /// Of all buffers, for the clients. Their handles are this object's: copies of so many could
    /// take all descriptors that the process may have.
    android::hardware::hidl_vec<Hidl::ImageBufferDescription> descriptions() const;

  private:
    struct Buffer {
        android::hardware::hidl_handle readOnly;
        uint8_t* pixels;
    };

    bool add(const std::string& name);

    const size_t size_;
    std::vector<Buffer> buffers_;
    bool isValid_ = true;
};

}  // namespace Simulator
