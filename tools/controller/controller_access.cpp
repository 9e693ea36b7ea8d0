#include "controller/controller_access.h"

#include <fmt/format.h>
#include <vek/sensors/factories.h>

#include <vector>

#include "controller/controller_text.h"
#include "failure.h"
#include "names.h"

using namespace Vek::Sensors;

std::shared_ptr<IControllerProvider> requireControllers() {
    // One process offers both services, but only the factory of this one returns null instead of
    // ending the process.
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

/// @param what describes the infos in the error message.
template <typename Info>
static Info find(const std::vector<Info>& infos, const std::string& key, const char* what) {
    std::vector<std::string> names;
    for (const Info& info : infos) {
        if (key == text(info.address)) {
            return info;
        }
        names.push_back(text(info.name));
    }
    return infos[chooseName(names, key, what)];
}

PairedControllerInfo findPaired(IControllerProvider& provider, const std::string& key) {
    return find(provider.getPairedControllers(), key, "paired controller");
}

AdvertisingControllerInfo findAdvertising(IControllerManagementClient& client,
                                          const std::string& key) {
    return find(client.getAdvertisingControllers(), key, "advertising controller");
}
