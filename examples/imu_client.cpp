// The smallest useful client: prints the IMU's samples for a second.
#include <vek/sensors/factories.h>

#include <chrono>
#include <cstdio>

int main() {
    const auto imu = Vek::Sensors::createImuSensor();
    if (imu == nullptr) {
        std::fprintf(stderr, "no IMU service is running\n");
        return 1;
    }
    const auto composite = Vek::Sensors::createStreamCompositor()->createCompositeStream("imu");
    imu->stream().setCallbackv([](auto spans) {
        for (const auto& span : spans) {
            for (const Vek::Sensors::ImuData& sample : span) {
                std::printf("%u: %.2f m/s^2 up\n", sample.sequence, sample.acceleration[2]);
            }
        }
    });
    imu->stream().addTo(*composite);
    imu->start();
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    while (std::chrono::steady_clock::now() < end) {
        composite->waitUntil(end);
    }
    imu->stop();
}
