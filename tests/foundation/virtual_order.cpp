// Makes the compiler lay the client API's interfaces out; virtual_order.cmake compares the tables.
#include <vek/sensors/controller_provider.h>
#include <vek/sensors/factories.h>

namespace Vek::Sensors {

template <typename Interface>
struct Client : Interface {
    Client() {}
};

template struct Client<IDataStream<ImuData>>;
template struct Client<ICompositeStream>;
template struct Client<IStreamCompositor>;
template struct Client<IMotionSensorProvider>;
template struct Client<IImuSensor>;
template struct Client<IMagSensor>;
template struct Client<IIadSensor>;
template struct Client<IFlickerSensorProvider>;
template struct Client<IFaceEyeTrackingLed>;
template struct Client<IExternalTimingProvider>;
template struct Client<ITambStream>;
template struct Client<ICameraProvider>;
template struct Client<ICameraStream>;
template struct Client<ICameraStreamController>;
template struct Client<IControllerProvider>;
template struct Client<IControllerManagementClient>;
template struct Client<IControllerStreamingClient>;
template struct Client<IControllerStateProvider>;

}  // namespace Vek::Sensors
