#include "descriptor_share.h"

#include <sys/resource.h>

#include <map>
#include <mutex>

namespace Simulator {
namespace {

/// What one process may take of the descriptors that the service may have open.
constexpr rlim_t kPart = 4;

struct Shares {
    std::mutex mutex;
    std::map<int, size_t> ofProcesses;
};

Shares& shares() {
    static auto* const all = new Shares;  // clients may outlast main()
    return *all;
}

}  // namespace

DescriptorShare::DescriptorShare(int process, size_t descriptors)
    : process_(process), descriptors_(descriptors) {
    const std::lock_guard lock{shares().mutex};
    shares().ofProcesses[process_] += descriptors_;
}

DescriptorShare::~DescriptorShare() {
    const std::lock_guard lock{shares().mutex};
    const auto own = shares().ofProcesses.find(process_);
    if (own != shares().ofProcesses.end() && (own->second -= descriptors_) == 0) {
        shares().ofProcesses.erase(own);
    }
}

bool DescriptorShare::isExceeded() const {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const std::lock_guard lock{shares().mutex};
    const auto own = shares().ofProcesses.find(process_);
    return own != shares().ofProcesses.end() && own->second > limit.rlim_cur / kPart;
}

}  // namespace Simulator
