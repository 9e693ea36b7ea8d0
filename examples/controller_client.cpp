// Shows the buttons of all paired controllers, and lets one buzz while its trigger is pulled.
//
// usage: controller_client [SECONDS]   (default: 10)
#include <vek/sensors/controller_provider.h>
#include <vek/sensors/factories.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>

using namespace Vek::Sensors;

/// Full scale is 255.
constexpr uint8_t kIntensity = 200;

int main(int argc, char** argv) {
    // The provider's constructor ends the process if there is no service; this one can be asked.
    if (createControllerStateProvider() == nullptr) {
        std::fprintf(stderr, "no controller service is running\n");
        return 1;
    }
    HidlWrapper::ControllerProvider provider;
    const auto client = provider.getStreamingClient();
    const auto composite = createStreamCompositor()->createCompositeStream("controllers");
    const auto buttons = provider.streamInput();

    // By controller: how strong it buzzes, and what its haptics get next.
    std::map<ControllerAddr, uint8_t> playing;
    std::map<ControllerAddr, uint8_t> wanted;
    buttons->setCallbackv([&](auto spans) {
        for (const auto& span : spans) {
            for (const ButtonData& sample : span) {
                wanted[sample.header.controller] = sample.trigger > 0.5F ? kIntensity : 0;
            }
        }
    });
    buttons->addTo(*composite);

    for (const PairedControllerInfo& info : provider.getPairedControllers()) {
        const auto name = textOf(info.name);
        std::printf("%.*s: battery %u %%\n", static_cast<int>(name.size()), name.data(),
                    info.batteryLevel);
        client->enable(info.address);
    }
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::seconds(argc > 1 ? std::atoi(argv[1]) : 10);
    while (std::chrono::steady_clock::now() < end) {
        composite->waitUntil(end);
        // A control call is too slow for a callback, and is made only if there is something new.
        for (const auto& [controller, intensity] : wanted) {
            // One that is asleep refuses.
            if (playing[controller] != intensity &&
                client->setSimpleHaptics(controller, intensity)) {
                playing[controller] = intensity;
                std::printf("%llx %s\n", static_cast<unsigned long long>(controller),
                            intensity > 0 ? "buzzes" : "is quiet");
            }
        }
    }
    for (const auto& [controller, intensity] : playing) {
        client->setSimpleHaptics(controller, 0);
        client->disable(controller);
    }
}
