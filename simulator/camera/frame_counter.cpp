#include "camera/frame_counter.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>

namespace Simulator {
namespace {

// In squares: seven-segment glyphs of four by seven in cells, with a margin around them all.
constexpr uint32_t kGlyphHeight = 7;
constexpr uint32_t kCellWidth = 6;
constexpr uint32_t kMargin = 2;

struct Area {
    uint32_t x;
    uint32_t y;
    uint32_t width;
    uint32_t height;
};

// Each segment is a bit: top, upper right, lower right, bottom, lower left, upper left, middle.
constexpr Area kSegments[] = {{0, 0, 4, 1}, {3, 0, 1, 4}, {3, 3, 1, 4}, {0, 6, 4, 1},
                              {0, 3, 1, 4}, {0, 0, 1, 4}, {0, 3, 4, 1}};
constexpr uint8_t kDigits[] = {0x3f, 0x06, 0x5b, 0x4f, 0x66, 0x6d, 0x7d, 0x07, 0x7f, 0x6f};
constexpr uint8_t kDash = 0x40;

/// The bytes of a pixel, in the order of memory.
struct Pixel {
    uint8_t bytes[4];
};
struct Ink {
    Pixel black;
    Pixel white;
};

Ink inkOf(Hidl::PixelFormat format) {
    switch (format) {
        case Hidl::PixelFormat::GREY_8:
            break;
        case Hidl::PixelFormat::GREY_10:
            return {{}, {{0xff, 0x03}}};
        case Hidl::PixelFormat::DEPTH_16:
            return {{}, {{0xff, 0x0f}}};  // about 4 m
        case Hidl::PixelFormat::RGBA_8888:
            return {{{0, 0, 0, 255}}, {{255, 255, 255, 255}}};
    }
    return {{}, {{255}}};
}

/// Fills an area, clipped to the plane.
void fill(const PixelPlane& plane, const Area& area, const Pixel& pixel) {
    const uint32_t size = bytesPerPixel(plane.format);
    const uint32_t right = std::min(area.x + area.width, plane.width);
    const uint32_t bottom = std::min(area.y + area.height, plane.height);
    for (uint32_t y = area.y; y < bottom; ++y) {
        uint8_t* const row = plane.pixels + size_t{y} * plane.stride;
        for (uint32_t x = area.x; x < right; ++x) {
            std::memcpy(row + size_t{x} * size, pixel.bytes, size);
        }
    }
}

/// Side of the squares, in pixels.
uint32_t printUnit(uint32_t imageWidth) {
    return std::max(imageWidth / 128, 1U);
}

}  // namespace

void printFrameCounter(const ImageRequest& request, const PixelPlane& plane) {
    const std::string text =
        fmt::format("{}-{:06}", request.camera.id % 10, request.sequence % 1'000'000);
    const uint32_t unit = printUnit(plane.width);
    const auto length = static_cast<uint32_t>(text.size());
    const Ink ink = inkOf(plane.format);
    fill(plane, {0, 0, (length * kCellWidth + kMargin) * unit, (kGlyphHeight + 2 * kMargin) * unit},
         ink.black);
    for (uint32_t i = 0; i < length; ++i) {
        const uint8_t glyph = text[i] == '-' ? kDash : kDigits[text[i] - '0'];
        for (uint32_t segment = 0; segment < std::size(kSegments); ++segment) {
            if ((glyph >> segment & 1) != 0) {
                const auto [x, y, width, height] = kSegments[segment];
                fill(plane,
                     {(kMargin + i * kCellWidth + x) * unit, (kMargin + y) * unit, width * unit,
                      height * unit},
                     ink.white);
            }
        }
    }
}

}  // namespace Simulator
