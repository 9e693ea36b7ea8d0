// A client of the IMU and of nothing else, for what its start takes and what it holds.
//
// usage: bench-imu-client [sample | stream]
//   without an argument  ends at once
//   sample               ends with the first sample
//   stream               writes a byte to descriptor 3 at the hundredth sample, and goes on
#include <unistd.h>
#include <vek/sensors/factories.h>

#include <cstring>

int main(int argc, char** argv) {
    if (argc < 2) {
        return 0;
    }
    const size_t wanted = std::strcmp(argv[1], "sample") == 0 ? 1 : 100;
    const auto imu = Vek::Sensors::createImuSensor();
    if (imu == nullptr) {
        return 1;
    }
    size_t samples = 0;
    imu->stream().setCallbackv([&samples](auto spans) { samples += spans[0].size(); });
    const auto composite = Vek::Sensors::createStreamCompositor()->createCompositeStream("imu");
    imu->stream().addTo(*composite);
    imu->start();
    while (samples < wanted) {
        composite->wait();
    }
    if (wanted == 1) {
        return 0;
    }
    if (write(3, "r", 1) != 1) {
        return 1;
    }
    while (true) {
        composite->wait();
    }
}
