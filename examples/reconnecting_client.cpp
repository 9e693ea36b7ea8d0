// Counts the samples of the IMU for as long as it is let, whatever becomes of the service.
//
// A process learns of the first death of a service only (service.h), so a client that is to survive
// any number of them looks at its data: an IMU that is silent for a second has lost its service.
// What belonged to that service is then dropped without a control call, which would end the process
// as the dead service cannot answer, and everything is made anew when there is a service again.
//
// One case is left: a service that dies in the middle of a control call, in the first moment of a
// connection. That ends the process, and who starts it has to start it again.
#include <vek/sensors/factories.h>

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <thread>

using namespace Vek::Sensors;
using Clock = std::chrono::steady_clock;

namespace {

constexpr std::chrono::seconds kLongestSilence{1};
constexpr std::chrono::milliseconds kBetweenLookUps{100};

std::unique_ptr<IImuSensor> awaitImu() {
    while (true) {
        if (auto imu = createImuSensor()) {
            return imu;
        }
        std::this_thread::sleep_for(kBetweenLookUps);
    }
}

/// Receives until the service is gone.
void receive(IImuSensor& imu) {
    const auto composite = createStreamCompositor()->createCompositeStream("imu");
    size_t samples = 0;
    Clock::time_point last = Clock::now();
    imu.stream().setCallbackv([&](auto spans) {
        for (const auto& span : spans) {
            samples += span.size();
        }
        last = Clock::now();
    });
    imu.stream().addTo(*composite);
    imu.start();
    Clock::time_point nextReport = Clock::now();
    while (Clock::now() - last < kLongestSilence) {
        composite->waitFor(kLongestSilence);
        if (samples > 0 && Clock::now() >= nextReport) {
            std::printf("%zu samples\n", samples);
            nextReport = Clock::now() + std::chrono::seconds(1);
        }
    }
}

}  // namespace

int main() {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    while (true) {
        std::printf("waiting for the service\n");
        const std::unique_ptr<IImuSensor> imu = awaitImu();
        receive(*imu);
        std::printf("the service is gone\n");
    }
}
