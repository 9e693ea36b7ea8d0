// Names from tables.
#include "camera/camera_names.h"

#include <fmt/format.h>

#include <cstddef>
#include <cstdint>
#include <iterator>

using namespace Vek::Sensors;

namespace {

constexpr const char* kFrameTypes[] = {"not-received",
                                       "invalid",
                                       "headset",
                                       "controller",
                                       "hand",
                                       "face-eye",
                                       "eye",
                                       "face",
                                       "depth",
                                       "color",
                                       "generic-slot-0",
                                       "generic-slot-1",
                                       "generic-slot-2",
                                       "generic-slot-3",
                                       "generic-slot-4",
                                       "generic-slot-5",
                                       "generic-slot-6",
                                       "generic-slot-7"};
constexpr const char* kPixelFormats[] = {"grey 8 bit", "grey 10 bit", "RGBA 8 bit", "depth 16 bit"};
constexpr const char* kResolutions[] = {"full", "half", "quarter"};

template <typename Enum, size_t size>
std::string nameIn(const char* const (&names)[size], Enum value) {
    const auto index = static_cast<uint32_t>(value);
    return index < size ? names[index] : fmt::format("{}", index);
}

}  // namespace

std::vector<FrameType> streamFrameTypes() {
    std::vector<FrameType> types;
    for (auto type = static_cast<uint32_t>(FrameType::HEADSET); type < std::size(kFrameTypes);
         ++type) {
        types.push_back(static_cast<FrameType>(type));
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
