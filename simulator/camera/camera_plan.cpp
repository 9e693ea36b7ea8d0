// See camera_plan.h.
#include "camera/camera_plan.h"

namespace Simulator {

const std::vector<CameraStreamPlan>& cameraStreamPlans() {
    using Type = Hal::FrameType;
    using Rate = Hal::FrameRate;
    using Format = Hal::PixelFormat;
    static const std::vector<CameraStreamPlan> plans{
        {"headset cameras",
         Type::HEADSET,
         "head-tracking",
         "ZV-640M",
         {{0, "headset left"}, {1, "headset right"}},
         Rate::FPS_60,
         Format::GREY_8,
         640,
         480},
        {"hand camera",
         Type::HAND,
         "hand-tracking",
         "ZV-640W",
         {{2, "hand"}},
         Rate::FPS_30,
         Format::GREY_10,
         640,
         400},
        {"eye cameras",
         Type::EYE,
         "eye-tracking",
         "ZV-400E",
         {{3, "eye left"}, {4, "eye right"}},
         Rate::FPS_60,
         Format::GREY_8,
         400,
         400},
        {"depth camera",
         Type::DEPTH,
         "depth",
         "ZV-320D",
         {{5, "depth"}},
         Rate::FPS_30,
         Format::DEPTH_16,
         320,
         240},
        {"color camera",
         Type::COLOR,
         "passthrough",
         "ZV-640C",
         {{6, "color"}},
         Rate::FPS_30,
         Format::RGBA_8888,
         640,
         480},
    };
    return plans;
}

uint32_t bytesPerPixel(Hal::PixelFormat format) {
    switch (format) {
        case Hal::PixelFormat::GREY_8:
            return 1;
        case Hal::PixelFormat::GREY_10:
        case Hal::PixelFormat::DEPTH_16:
            return 2;
        case Hal::PixelFormat::RGBA_8888:
            return 4;
    }
    return 0;
}

ImageGeometry geometryOf(const CameraStreamPlan& plan, Hal::Resolution resolution) {
    // Rows begin where the cameras' transfers like them to.
    constexpr uint32_t kRowAlignment = 64;
    const auto halvings = static_cast<uint32_t>(resolution);
    const uint32_t width = plan.width >> halvings;
    const uint32_t rowSize = width * bytesPerPixel(plan.pixelFormat);
    const uint32_t stride = (rowSize + kRowAlignment - 1) / kRowAlignment * kRowAlignment;
    return {width, plan.height >> halvings, stride};
}

size_t largestImage(const CameraStreamPlan& plan) {
    const ImageGeometry full = geometryOf(plan, Hal::Resolution::FULL);
    return size_t{full.stride} * full.height;
}

}  // namespace Simulator
