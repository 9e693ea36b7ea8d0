// The entry point for the owner of the controllers' state. Users of controllers construct their
// provider themselves.
#include <vek/sensors/factories.h>

#include <memory>

#include "controller/controller_state_provider.h"
#include "foundation/bind_service.h"

namespace Vek::Sensors {

std::unique_ptr<IControllerStateProvider> createControllerStateProvider() {
    return HidlWrapper::createForDefaultService<HidlWrapper::ControllerStateProvider,
                                                Hidl::IControllerStateProvider>();
}

}  // namespace Vek::Sensors
