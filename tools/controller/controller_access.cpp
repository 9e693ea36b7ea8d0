// See controller_access.h.
#include "controller/controller_access.h"

#include <fmt/format.h>
#include <vek/sensors/factories.h>

#include <algorithm>
#include <vector>

#include "controller/controller_text.h"
#include "failure.h"

using namespace Vek::Sensors;

std::shared_ptr<IControllerProvider> requireControllers() {
    // One process offers both services, and only this one can be asked for without dying.
    requireService(createControllerStateProvider(), "IControllerStateProvider");
    return std::make_shared<HidlWrapper::ControllerProvider>();
}

std::unique_ptr<IControllerManagementClient> requireManagementClient(
    IControllerProvider& provider) {
    auto client = provider.getManagementClient();
    if (client == nullptr) {
        throw Failure(ExitCode::FAILED, "the service has no client for managing controllers");
    }
    return client;
}

/// @param what they are, for the message.
template <typename Info>
static Info find(const std::vector<Info>& infos, const std::string& key, const char* what) {
    const auto found = std::find_if(infos.begin(), infos.end(), [&key](const Info& info) {
        return key == text(info.name) || key == text(info.address);
    });
    if (found == infos.end()) {
        std::vector<std::string> others;
        for (const Info& info : infos) {
            others.push_back(fmt::format("'{}'", text(info.name)));
        }
        throw Failure(ExitCode::USAGE,
                      fmt::format("no {} controller is called '{}'; there {}{}", what, key,
                                  others.empty() ? "is none" : "are ", listOf(others)));
    }
    return *found;
}

PairedControllerInfo findPaired(IControllerProvider& provider, const std::string& key) {
    return find(provider.getPairedControllers(), key, "paired");
}

AdvertisingControllerInfo findAdvertising(IControllerManagementClient& client,
                                          const std::string& key) {
    return find(client.getAdvertisingControllers(), key, "advertising");
}
