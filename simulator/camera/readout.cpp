// Computes with pixel values of 8 bits (0 to 255), and converts them when it writes.
#include "camera/readout.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "camera/exposure_control.h"
#include "time_units.h"
#include "world/random.h"

namespace Simulator {
namespace {

constexpr float kWhite = 255;
constexpr float kFullWell = 9'000;  // electrons of a white pixel at gain 1
constexpr float kReadNoise = 0.6F;  // at gain 1

// Depths in mm.
constexpr float kLeastDepth = 150;
constexpr float kGreatestDepth = 8'000;
constexpr float kDepthNoise = 1;           // at a distance of 0
constexpr float kDepthNoisePerMetre2 = 1;  // times the squared distance

/// A table of normally distributed numbers; each tile starts at a random place in it.
const std::vector<float>& noiseTable() {
    constexpr size_t kStarts = 1U << 14;
    static const std::vector<float> table = [] {
        std::vector<float> numbers(kStarts + kTileSize);
        const Random random(0, "noise of images");
        for (size_t i = 0; i < numbers.size(); ++i) {
            numbers[i] = static_cast<float>(random.normal(i));
        }
        return numbers;
    }();
    return table;
}

void writeGrey8(const float* values, uint32_t count, uint8_t* target) {
    for (uint32_t i = 0; i < count; ++i) {
        target[i] = static_cast<uint8_t>(values[i] + 0.5F);
    }
}

/// Two bytes a pixel, little-endian.
void writeWide(const float* values, uint32_t count, float scale, uint8_t* target) {
    for (uint32_t i = 0; i < count; ++i) {
        const auto value = static_cast<uint32_t>(values[i] * scale + 0.5F);
        target[2 * i] = static_cast<uint8_t>(value & 0xff);
        target[2 * i + 1] = static_cast<uint8_t>(value >> 8);
    }
}

}  // namespace

int64_t exposureOfRow(const ImageRequest& request, const PixelPlane& plane, double row) {
    const double middle = (plane.height - 1) / 2.0;
    const double binning = static_cast<double>(request.stream.height) / plane.height;
    return std::llround((row - middle) * binning * request.stream.rowTime);
}

Readout::Readout(const ImageRequest& request, const RoomLight& lamps, uint64_t seed,
                 const PixelPlane& plane)
    : plane_(plane) {
    noiseKey_ = Random(seed, "image").bits(uint64_t{request.camera.id} << 32 | request.sequence);
    const auto gain = request.exposure.analogGain * request.exposure.digitalGain;
    ledGain_ = static_cast<float>(brightnessOf(request.exposure));
    photonNoise_ = gain * kWhite / kFullWell;
    readNoise_ = gain * gain * kReadNoise * kReadNoise;
    const uint32_t rows = (plane.height + kTileHeight - 1) / kTileHeight * kTileHeight;
    const auto exposureTime = static_cast<int64_t>(request.exposure.exposureTime);
    lampGain_.reserve(rows);
    for (uint32_t row = 0; row < rows; ++row) {
        if (row > 0 && request.stream.rowTime == 0) {
            lampGain_.push_back(lampGain_[0]);
            continue;
        }
        const int64_t begin =
            request.worldTime + exposureOfRow(request, plane, row) - exposureTime / 2;
        const double level = lamps.average(toSeconds(begin), toSeconds(begin + exposureTime));
        lampGain_.push_back(static_cast<float>(level / RoomLight::kUsualIlluminance) * ledGain_);
    }
}

const float* Readout::noiseFor(const Tile& tile, uint32_t channel) const {
    const std::vector<float>& table = noiseTable();
    uint64_t place = noiseKey_ + (uint64_t{tile.row} << 16 | tile.column << 2 | channel);
    place *= 0x9E37'79B9'7F4A'7C15;
    return table.data() + (place >> 32) % (table.size() - kTileSize);
}

Readout::Values Readout::valuesOf(const TilePlane& light, const Tile& tile,
                                  uint32_t channel) const {
    const float* const noise = noiseFor(tile, channel);
    const float* const lampGain = lampGain_.data() + size_t{tile.row} * kTileHeight;
    Values values;
    for (uint32_t row = 0; row < kTileHeight; ++row) {
        for (uint32_t i = row * kTileWidth; i < (row + 1) * kTileWidth; ++i) {
            const float value = light[i] * lampGain[row] + tile.ledLight[i] * ledGain_;
            const float noisy =
                value + noise[i] * std::sqrt(std::max(value, 0.0F) * photonNoise_ + readNoise_);
            values[i] = std::min(std::max(noisy, 0.0F), kWhite);
        }
    }
    return values;
}

Readout::Values Readout::depthsOf(const Tile& tile) const {
    const float* const noise = noiseFor(tile, 0);
    Values values;
    for (uint32_t i = 0; i < kTileSize; ++i) {
        const float metres = tile.depth[i];
        const float depth =
            1000 * metres + noise[i] * (kDepthNoise + kDepthNoisePerMetre2 * metres * metres);
        values[i] = depth >= kLeastDepth && depth <= kGreatestDepth ? depth : 0;
    }
    return values;
}

void Readout::write(const Tile& tile) const {
    const uint32_t left = tile.column * kTileWidth;
    const uint32_t top = tile.row * kTileHeight;
    const uint32_t width = std::min(kTileWidth, plane_.width - left);
    const uint32_t height = std::min(kTileHeight, plane_.height - top);
    std::array<Values, 3> values;
    const bool isColored = plane_.format == Hidl::PixelFormat::RGBA_8888;
    for (uint32_t channel = 0; channel < (isColored ? 3U : 1U); ++channel) {
        values[channel] = plane_.format == Hidl::PixelFormat::DEPTH_16
                              ? depthsOf(tile)
                              : valuesOf(tile.light[channel], tile, channel);
    }
    for (uint32_t row = 0; row < height; ++row) {
        uint8_t* const target = plane_.pixels + size_t{top + row} * plane_.stride +
                                size_t{left} * bytesPerPixel(plane_.format);
        const size_t first = size_t{row} * kTileWidth;
        switch (plane_.format) {
            case Hidl::PixelFormat::GREY_8:
                writeGrey8(&values[0][first], width, target);
                break;
            case Hidl::PixelFormat::GREY_10:
                writeWide(&values[0][first], width, 1023 / kWhite, target);
                break;
            case Hidl::PixelFormat::DEPTH_16:
                writeWide(&values[0][first], width, 1, target);
                break;
            case Hidl::PixelFormat::RGBA_8888:
                for (uint32_t i = 0; i < width; ++i) {
                    for (uint32_t channel = 0; channel < 3; ++channel) {
                        target[4 * i + channel] =
                            static_cast<uint8_t>(values[channel][first + i] + 0.5F);
                    }
                    target[4 * i + 3] = 255;
                }
                break;
        }
    }
}

}  // namespace Simulator
