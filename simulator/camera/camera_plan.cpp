#include "camera/camera_plan.h"

namespace Simulator {

namespace {

using Eigen::AngleAxisd;

/// Mount of a camera that looks ahead with an upright image, pitched down by `down` rad.
Pose ahead(const Vector& position, double down = 0) {
    return {AngleAxisd(-M_PI_2 - down, Vector::UnitX()) * Eigen::Quaterniond::Identity(), position};
}

/// Mount of a camera on the rim of the headset's optics that looks back and up at an eye.
Pose atEye(const Vector& eye) {
    constexpr double kUp = 0.45;  // in rad
    const Eigen::Quaterniond back{AngleAxisd(M_PI, Vector::UnitZ()) *
                                  AngleAxisd(-M_PI_2 + kUp, Vector::UnitX())};
    return {back, eye - kEyeCameraDistance * (back * Vector::UnitZ())};
}

/// The optics are in front of the headset's origin, the eyes behind it.
Vector eyePosition(double side) {
    return {side * 0.032, -0.015, -0.01};
}

}  // namespace

const std::vector<CameraStreamPlan>& cameraStreamPlans() {
    using Type = Hidl::FrameType;
    using Rate = Hidl::FrameRate;
    using Format = Hidl::PixelFormat;
    // Real lenses differ a little, so these do, too.
    constexpr auto kPinhole = Lens::Model::RADIAL_TANGENTIAL;
    constexpr auto kFisheye = Lens::Model::EQUIDISTANT;
    static const std::vector<CameraStreamPlan> plans{
        {"headset cameras",
         Type::HEADSET,
         "head-tracking",
         "ZV-640M",
         {{0,
           "headset left",
           {kPinhole, {384.62, 384.17, 321.34, 238.71}, {-0.2112, 0.0463, 0.00031, -0.00018}},
           ahead({-0.05, 0.08, 0.0})},
          {1,
           "headset right",
           {kPinhole, {383.91, 383.55, 317.88, 241.06}, {-0.2087, 0.0449, -0.00022, 0.00026}},
           ahead({0.05, 0.08, 0.0})}},
         Rate::FPS_60,
         Format::GREY_8,
         640,
         480},
        {"hand camera",
         Type::HAND,
         "hand-tracking",
         "ZV-640W",
         {{2,
           "hand",
           {kFisheye, {222.37, 222.51, 320.65, 198.92}, {-0.0107, 0.0032, -0.0011, 0.0002}},
           ahead({0.0, 0.08, -0.03}, 0.6)}},
         Rate::FPS_30,
         Format::GREY_10,
         640,
         400},
        {"eye cameras",
         Type::EYE,
         "eye-tracking",
         "ZV-400E",
         {{3,
           "eye left",
           {kPinhole, {481.3, 481.9, 200.4, 198.1}, {-0.051, 0.008, 0.0001, 0.0002}},
           atEye(eyePosition(-1))},
          {4,
           "eye right",
           {kPinhole, {479.8, 480.2, 197.9, 201.3}, {-0.049, 0.007, -0.0002, 0.0001}},
           atEye(eyePosition(1))}},
         Rate::FPS_60,
         Format::GREY_8,
         400,
         400},
        {"depth camera",
         Type::DEPTH,
         "depth",
         "ZV-320D",
         // Its images are rectified.
         {{5, "depth", {kPinhole, {192.0, 192.0, 159.5, 119.5}, {}}, ahead({0.0, 0.08, 0.015})}},
         Rate::FPS_30,
         Format::DEPTH_16,
         320,
         240},
        {"color camera",
         Type::COLOR,
         "passthrough",
         "ZV-640C",
         {{6,
           "color",
           {kPinhole, {402.15, 401.83, 318.27, 240.44}, {-0.1623, 0.0271, 0.00012, 0.00037}},
           ahead({0.02, 0.08, 0.015})}},
         Rate::FPS_30,
         Format::RGBA_8888,
         640,
         480,
         5'000},
    };
    return plans;
}

uint32_t bytesPerPixel(Hidl::PixelFormat format) {
    switch (format) {
        case Hidl::PixelFormat::GREY_8:
            return 1;
        case Hidl::PixelFormat::GREY_10:
        case Hidl::PixelFormat::DEPTH_16:
            return 2;
        case Hidl::PixelFormat::RGBA_8888:
            return 4;
    }
    return 0;
}

ImageGeometry geometryOf(const CameraStreamPlan& plan, Hidl::Resolution resolution) {
    // Alignment of rows, as image DMA requires it.
    constexpr uint32_t kRowAlignment = 64;
    const auto halvings = static_cast<uint32_t>(resolution);
    const uint32_t width = plan.width >> halvings;
    const uint32_t rowSize = width * bytesPerPixel(plan.pixelFormat);
    const uint32_t stride = (rowSize + kRowAlignment - 1) / kRowAlignment * kRowAlignment;
    return {width, plan.height >> halvings, stride};
}

size_t largestImage(const CameraStreamPlan& plan) {
    const ImageGeometry full = geometryOf(plan, Hidl::Resolution::FULL);
    return size_t{full.stride} * full.height;
}

}  // namespace Simulator
