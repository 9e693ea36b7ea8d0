// Names from tables.
#include "camera/camera_names.h"

#include "recording/enum_names.h"

using namespace Vek::Sensors;
using Recording::Named;
using Recording::nameIn;

namespace {

constexpr Named<FrameType> kFrameTypes[] = {
    {FrameType::NOT_RECEIVED, "not-received"},
    {FrameType::INVALID, "invalid"},
    {FrameType::HEADSET, "headset"},
    {FrameType::CONTROLLER, "controller"},
    {FrameType::HAND, "hand"},
    {FrameType::FACE_EYE_COMPOSITE, "face-eye"},
    {FrameType::EYE, "eye"},
    {FrameType::FACE, "face"},
    {FrameType::DEPTH, "depth"},
    {FrameType::COLOR, "color"},
    {FrameType::GENERIC_SLOT_0, "generic-slot-0"},
    {FrameType::GENERIC_SLOT_1, "generic-slot-1"},
    {FrameType::GENERIC_SLOT_2, "generic-slot-2"},
    {FrameType::GENERIC_SLOT_3, "generic-slot-3"},
    {FrameType::GENERIC_SLOT_4, "generic-slot-4"},
    {FrameType::GENERIC_SLOT_5, "generic-slot-5"},
    {FrameType::GENERIC_SLOT_6, "generic-slot-6"},
    {FrameType::GENERIC_SLOT_7, "generic-slot-7"},
};
constexpr Named<PixelFormat> kPixelFormats[] = {
    {PixelFormat::GREY_8, "grey 8 bit"},
    {PixelFormat::GREY_10, "grey 10 bit"},
    {PixelFormat::RGBA_8888, "RGBA 8 bit"},
    {PixelFormat::DEPTH_16, "depth 16 bit"},
};
constexpr Named<Resolution> kResolutions[] = {
    {Resolution::FULL, "full"},
    {Resolution::HALF, "half"},
    {Resolution::QUARTER, "quarter"},
};

}  // namespace

std::vector<FrameType> streamFrameTypes() {
    std::vector<FrameType> types;
    for (const auto& entry : kFrameTypes) {
        if (entry.value >= FrameType::HEADSET) {
            types.push_back(entry.value);
        }
    }
    return types;
}

std::string nameOf(FrameType type) {
    return nameIn(kFrameTypes, type);
}

std::string nameOf(PixelFormat format) {
    return nameIn(kPixelFormats, format);
}

std::string nameOf(Resolution resolution) {
    return nameIn(kResolutions, resolution);
}
