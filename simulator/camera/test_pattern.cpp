// See test_pattern.h.
#include "camera/test_pattern.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "camera/calibration.h"
#include "camera/exposure_control.h"

namespace Simulator {
namespace {

/// What is drawn on, in any format: one byte a pixel, 0 is black.
struct GreyPlane {
    uint8_t* pixels;
    uint32_t width;
    uint32_t height;
    uint32_t stride;
};

struct Rectangle {
    uint32_t x;
    uint32_t y;
    uint32_t width;
    uint32_t height;
};

constexpr uint32_t kStripePeriod = 64;  // in pixels
constexpr uint32_t kStripeSpeed = 2;    // in pixels a frame
constexpr uint32_t kGreySteps = 8;

// The print, in units: seven-segment glyphs of four by seven in cells, with a margin around them
// all.
constexpr uint32_t kGlyphHeight = 7;
constexpr uint32_t kCellWidth = 6;
constexpr uint32_t kMargin = 2;

// Each segment is a bit: top, upper right, lower right, bottom, lower left, upper left, middle.
constexpr Rectangle kSegments[] = {{0, 0, 4, 1}, {3, 0, 1, 4}, {3, 3, 1, 4}, {0, 6, 4, 1},
                                   {0, 3, 1, 4}, {0, 0, 1, 4}, {0, 3, 4, 1}};
constexpr uint8_t kDigits[] = {0x3f, 0x06, 0x5b, 0x4f, 0x66, 0x6d, 0x7d, 0x07, 0x7f, 0x6f};
constexpr uint8_t kDash = 0x40;

uint8_t exposed(double value, double brightness) {
    return static_cast<uint8_t>(std::clamp(value * brightness, 0.0, 255.0));
}

/// What of it lies outside of the plane is left out.
void fill(const GreyPlane& plane, const Rectangle& area, uint8_t value) {
    const uint32_t left = std::min(area.x, plane.width);
    const uint32_t right = std::min(area.x + area.width, plane.width);
    const uint32_t bottom = std::min(area.y + area.height, plane.height);
    for (uint32_t y = area.y; y < bottom; ++y) {
        std::memset(plane.pixels + size_t{y} * plane.stride + left, value, right - left);
    }
}

/// All rows are the same one, shifted: one stripe's profile is enough.
void drawStripes(const GreyPlane& plane, const PatternFrame& frame) {
    std::vector<uint8_t> row(plane.width + kStripePeriod);
    for (uint32_t x = 0; x < row.size(); ++x) {
        const uint32_t phase = x % kStripePeriod;
        const uint32_t ramp = std::min(phase, kStripePeriod - phase);  // 0 to half a period
        row[x] = exposed(40.0 + 2.5 * ramp, frame.brightness);
    }
    for (uint32_t y = 0; y < plane.height; ++y) {
        // The width of the numbers does not matter: the period divides their ranges.
        const uint32_t shift = (frame.number * kStripeSpeed + y) % kStripePeriod;
        std::memcpy(plane.pixels + size_t{y} * plane.stride, row.data() + shift, plane.width);
    }
}

void drawDisc(const GreyPlane& plane, const PatternFrame& frame) {
    constexpr uint32_t kFramesForATurn = 120;
    const double angle = 2 * M_PI * (frame.number % kFramesForATurn) / kFramesForATurn;
    const double radius = plane.height / 10.0;
    const double centerX = plane.width * (0.5 + 0.3 * std::cos(angle));
    const double centerY = plane.height * (0.5 + 0.2 * std::sin(angle));
    const uint8_t value = exposed(200, frame.brightness);
    for (auto y = static_cast<uint32_t>(centerY - radius); y < centerY + radius; ++y) {
        const double half = std::sqrt(std::max(0.0, radius * radius - std::pow(y - centerY, 2)));
        fill(plane, {static_cast<uint32_t>(centerX - half), y, static_cast<uint32_t>(2 * half), 1},
             value);
    }
}

void drawGreySteps(const GreyPlane& plane, const PatternFrame& frame) {
    const uint32_t height = plane.height / 10;
    const uint32_t width = (plane.width + kGreySteps - 1) / kGreySteps;
    for (uint32_t step = 0; step < kGreySteps; ++step) {
        const double grey = 255.0 * step / (kGreySteps - 1);
        fill(plane, {step * width, plane.height - height, width, height},
             exposed(grey, frame.brightness));
    }
}

void drawPrint(const GreyPlane& plane, const PatternFrame& frame) {
    const std::string text = fmt::format("{}-{:06}", frame.camera % 10, frame.number % 1'000'000);
    const uint32_t unit = printUnit(plane.width);
    const auto length = static_cast<uint32_t>(text.size());
    fill(plane, {0, 0, (length * kCellWidth + kMargin) * unit, (kGlyphHeight + 2 * kMargin) * unit},
         0);
    for (uint32_t i = 0; i < length; ++i) {
        const uint8_t glyph = text[i] == '-' ? kDash : kDigits[text[i] - '0'];
        for (uint32_t segment = 0; segment < std::size(kSegments); ++segment) {
            if ((glyph >> segment & 1) != 0) {
                const auto [x, y, width, height] = kSegments[segment];
                fill(plane,
                     {(kMargin + i * kCellWidth + x) * unit, (kMargin + y) * unit, width * unit,
                      height * unit},
                     255);
            }
        }
    }
}

/// The bytes of a pixel, in the order of memory.
using Pixel = std::array<uint8_t, 4>;

Pixel pixelOf(uint8_t grey, Hal::PixelFormat format) {
    const auto littleEndian = [](uint32_t value) {
        return Pixel{static_cast<uint8_t>(value & 0xff), static_cast<uint8_t>(value >> 8), 0, 0};
    };
    switch (format) {
        case Hal::PixelFormat::GREY_8:
            break;
        case Hal::PixelFormat::GREY_10:
            return littleEndian(grey * 4U + grey / 64U);
        case Hal::PixelFormat::DEPTH_16:
            return littleEndian(grey * 16U);
        case Hal::PixelFormat::RGBA_8888:
            return {static_cast<uint8_t>(grey * grey / 255), grey,
                    static_cast<uint8_t>(std::lround(std::sqrt(grey * 255.0))), 255};
    }
    return {grey, 0, 0, 0};
}

void convert(const GreyPlane& from, const PixelPlane& to) {
    const uint32_t size = bytesPerPixel(to.format);
    std::array<Pixel, 256> pixels;
    for (uint32_t grey = 0; grey < pixels.size(); ++grey) {
        pixels[grey] = pixelOf(static_cast<uint8_t>(grey), to.format);
    }
    for (uint32_t y = 0; y < to.height; ++y) {
        const uint8_t* const source = from.pixels + size_t{y} * from.stride;
        uint8_t* target = to.pixels + size_t{y} * to.stride;
        for (uint32_t x = 0; x < to.width; ++x, target += size) {
            std::memcpy(target, pixels[source[x]].data(), size);
        }
    }
}

void drawGrey(const GreyPlane& plane, const PatternFrame& frame) {
    drawStripes(plane, frame);
    drawDisc(plane, frame);
    drawGreySteps(plane, frame);
    drawPrint(plane, frame);
}

}  // namespace

uint32_t printUnit(uint32_t imageWidth) {
    return std::max(imageWidth / 128, 1U);
}

void drawTestPattern(const PixelPlane& plane, const PatternFrame& frame) {
    if (plane.format == Hal::PixelFormat::GREY_8) {
        drawGrey({plane.pixels, plane.width, plane.height, plane.stride}, frame);
        return;
    }
    std::vector<uint8_t> grey(size_t{plane.width} * plane.height);
    const GreyPlane scratch{grey.data(), plane.width, plane.height, plane.width};
    drawGrey(scratch, frame);
    convert(scratch, plane);
}

void TestPattern::draw(const ImageRequest& request, const PixelPlane& plane) {
    drawTestPattern(plane, {request.camera.id, request.sequence, brightnessOf(request.exposure)});
}

std::string TestPattern::calibration(const CameraStreamPlan& stream,
                                     const CameraPlan& camera) const {
    return factoryCalibration(stream, camera);
}

}  // namespace Simulator
