// Prints ten readings of the ambient light. The light sensor's factory has a type of the HAL in
// its signature, so this program builds against the HAL's headers, too.
#include <vek/sensors/factories.h>
#include <vendor/zelvan/hardware/sensors/1.0/IFlickerSensor.h>

#include <cstdio>

int main() {
    const auto sensor = Vek::Sensors::createFlickerSensor(nullptr);
    if (sensor == nullptr) {
        std::fprintf(stderr, "no light sensor service is running\n");
        return 1;
    }
    const auto composite = Vek::Sensors::createStreamCompositor()->createCompositeStream("light");
    int readings = 0;
    sensor->ambientLightStream().setCallbackv([&readings](auto spans) {
        for (const auto& span : spans) {
            for (const Vek::Sensors::AmbientLightData& reading : span) {
                std::printf("%u: %.1f lx\n", reading.sequence, reading.illuminance);
                ++readings;
            }
        }
    });
    sensor->ambientLightStream().addTo(*composite);
    sensor->ambientLightStart();
    while (readings < 10) {
        composite->wait();
    }
    sensor->ambientLightStop();
}
