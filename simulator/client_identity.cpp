// See client_identity.h.
#include "client_identity.h"

#include <fmt/format.h>
#include <hwbinder/IPCThreadState.h>

#include <algorithm>

namespace Simulator {

std::string describeCaller(const android::sp<Hal::ISensorClient>& client) {
    constexpr size_t kMaxNameLength = 64;
    const int process = android::hardware::IPCThreadState::self()->getCallingPid();
    std::string name = "nameless client";
    const auto asked =
        client->getSensorClientInfo([&](Hal::Result result, const Hal::SensorClientInfo& info) {
            if (result == Hal::Result::SUCCESS) {
                name.assign(info.name.c_str(), std::min(info.name.size(), kMaxNameLength));
            }
        });
    // Without an answer it stays nameless; whether the client lives is found out by linking to it.
    static_cast<void>(asked.isOk());
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return fmt::format("{} (process {})", name, process);
}

}  // namespace Simulator
