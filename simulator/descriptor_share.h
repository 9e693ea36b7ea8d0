// How many of the service's descriptors each client process takes.
#pragma once

#include <cstddef>

namespace Simulator {

/// The descriptors that the service keeps for one client. Those of a process together are to be no
/// more than a part of what the service may have open, so that it can go on to serve the others.
///
/// Threading: any object on any thread.
class DescriptorShare {
  public:
    DescriptorShare(int process, size_t descriptors);
    ~DescriptorShare();
    DescriptorShare(const DescriptorShare&) = delete;
    DescriptorShare& operator=(const DescriptorShare&) = delete;

    /// Whether all that are kept for the process, these included, are too many.
    bool isExceeded() const;

  private:
    const int process_;
    const size_t descriptors_;
};

}  // namespace Simulator
