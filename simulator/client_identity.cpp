#include "client_identity.h"

#include <fmt/format.h>
#include <hwbinder/IPCThreadState.h>

#include <algorithm>

namespace Simulator {

int callingProcess() {
    return android::hardware::IPCThreadState::self()->getCallingPid();
}

std::string describeCaller(const ClientIdentity& client) {
    constexpr size_t kMaxNameLength = 64;
    std::string name = "nameless client";
    if (client != nullptr) {
        const auto asked = client->getSensorClientInfo(
            [&](Hidl::Result result, const Hidl::SensorClientInfo& info) {
                if (result == Hidl::Result::SUCCESS) {
                    name.assign(info.name.c_str(), std::min(info.name.size(), kMaxNameLength));
                }
            });
        // A client that does not answer stays nameless. Whether it is alive is checked later, by
        // linking to its death.
        static_cast<void>(asked.isOk());
    }
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return fmt::format("{} (process {})", name, callingProcess());
}

}  // namespace Simulator
