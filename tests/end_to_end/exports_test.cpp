// What the shared library shows to programs.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace {

TEST(Exports, OnlyTheEntryPointsAreVisible) {
    const std::string command = "nm -DC --defined-only " MORIAK_LIBRARY;
    const std::unique_ptr<FILE, int (*)(FILE*)> output{popen(command.c_str(), "r"), pclose};
    ASSERT_NE(output, nullptr);
    std::vector<std::string> names;
    for (std::array<char, 1024> line{}; fgets(line.data(), line.size(), output.get());) {
        const std::string text = line.data();
        // The one class that clients construct themselves.
        if (text.find(" Vek::Sensors::HidlWrapper::ControllerProvider") != std::string::npos) {
            continue;
        }
        names.push_back(text.substr(text.find(" T ") + 3));
    }
    EXPECT_THAT(
        names,
        ::testing::UnorderedElementsAre(
            "Vek::Sensors::createCameraProvider()\n",
            "Vek::Sensors::createControllerStateProvider()\n",
            "Vek::Sensors::createExternalTimingProvider()\n",
            "Vek::Sensors::createFaceEyeTrackingLed()\n",
            "Vek::Sensors::createFlickerSensor(android::sp<vendor::zelvan::hardware::sensors::"
            "V1_0::IFlickerSensor>)\n",
            "Vek::Sensors::createIadSensor()\n", "Vek::Sensors::createImuSensor()\n",
            "Vek::Sensors::createLegacyCameraProvider()\n",
            "Vek::Sensors::createLegacyIadSensor()\n", "Vek::Sensors::createLegacyImuSensor()\n",
            "Vek::Sensors::createLegacyMagSensor()\n",
            "Vek::Sensors::createLegacyMotionSensorProvider()\n",
            "Vek::Sensors::createMagSensor()\n", "Vek::Sensors::createMotionSensorProvider()\n",
            "Vek::Sensors::createStreamCompositor()\n", "Vek::Sensors::createTambStream()\n",
            "Vek::Sensors::suppressTransportCrashDumps(bool)\n"));
}

}  // namespace
