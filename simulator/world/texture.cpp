#include "world/texture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <utility>

namespace Simulator {
namespace {

// Radii of the shapes, in m, and how much of the surface is covered by each octave of sizes: less
// and less, or the small ones would hide all others.
constexpr double kLargest = 0.5;
constexpr double kSmallest = 0.022;
constexpr double kCoverOfLargest = 0.9;
constexpr double kCoverOfSmallest = 0.10;

constexpr double kDarkest = 24;
constexpr double kBrightest = 232;
constexpr int kGrain = 7;  // up and down

/// Both ends of a row of a shape.
struct Span {
    double left;
    double right;
};

struct Shape {
    bool isDisc;
    double x;
    double y;
    double radius;
    double angle;
    /// Of a rectangle's sides.
    double ratio;

    /// Empty if left is not below right.
    Span rowAt(double row) const {
        if (isDisc) {
            const double half = std::sqrt(std::max(0.0, radius * radius - (row - y) * (row - y)));
            return {x - half, x + half};
        }
        // Between each pair of parallel sides.
        const double c = std::cos(angle);
        const double s = std::sin(angle);
        const Span along = between(c, (row - y) * s, radius);
        const Span across = between(-s, (row - y) * c, radius * ratio);
        return {x + std::max(along.left, across.left), x + std::min(along.right, across.right)};
    }

    /// Where |slope * x + offset| <= half.
    static Span between(double slope, double offset, double half) {
        const double a = (-half - offset) / slope;
        const double b = (half - offset) / slope;
        return {std::min(a, b), std::max(a, b)};
    }
};

void paint(const Shape& shape, uint8_t grey, Texture::Level* level) {
    const auto clamped = [](double value, uint32_t limit) {
        return static_cast<uint32_t>(std::clamp(std::ceil(value), 0.0, static_cast<double>(limit)));
    };
    const uint32_t bottom = clamped(shape.y + shape.radius * M_SQRT2, level->height);
    for (uint32_t row = clamped(shape.y - shape.radius * M_SQRT2, level->height); row < bottom;
         ++row) {
        const Span span = shape.rowAt(row);
        const uint32_t left = clamped(span.left, level->width);
        const uint32_t right = clamped(span.right, level->width);
        if (left < right) {
            std::memset(level->pixels.data() + size_t{row} * level->width + left, grey,
                        right - left);
        }
    }
}

/// A cheap generator: the statistics of grain do not matter.
void addGrain(uint64_t seed, std::vector<uint8_t>* pixels) {
    auto state = static_cast<uint32_t>(seed);
    for (uint8_t& pixel : *pixels) {
        state = state * 1'664'525 + 1'013'904'223;
        const int grain = static_cast<int>((state >> 24) * (2 * kGrain + 1) >> 8) - kGrain;
        pixel = static_cast<uint8_t>(pixel + grain);
    }
}

}  // namespace

Texture::Texture(uint32_t width, uint32_t height, double texelsPerMetre, const Random& random)
    : levels_{{width, height, std::vector<uint8_t>(size_t{width} * height, 128)}} {
    uint64_t draw = 0;
    const auto uniform = [&](double low, double high) { return random.uniform(draw++, low, high); };
    const double area = static_cast<double>(width) * height;
    for (double size = kLargest; size > kSmallest; size /= M_SQRT2) {
        const double radius = size * texelsPerMetre;
        const double cover =
            kCoverOfSmallest + (kCoverOfLargest - kCoverOfSmallest) *
                                   (std::log(size / kSmallest) / std::log(kLargest / kSmallest));
        const double shapes = std::ceil(cover / 2 * area / (2.4 * radius * radius));
        for (double i = 0; i < shapes; ++i) {
            const Shape shape{uniform(0, 1) < 0.25, uniform(0, width), uniform(0, height),
                              radius * uniform(0.75, 1),
                              // Not along the rows: there, a row has no ends.
                              uniform(0.05, M_PI_2 - 0.05), uniform(0.4, 1)};
            paint(shape, static_cast<uint8_t>(uniform(kDarkest, kBrightest)), &levels_[0]);
        }
    }
    addGrain(random.bits(draw), &levels_[0].pixels);
}

void Texture::fill(uint32_t left, uint32_t top, uint32_t width, uint32_t height, uint8_t grey) {
    Level& level = levels_[0];
    for (uint32_t row = top; row < top + height; ++row) {
        std::memset(level.pixels.data() + size_t{row} * level.width + left, grey, width);
    }
}

void Texture::makeLevels() {
    constexpr uint32_t kShortest = 16;
    levels_.resize(1);
    for (;;) {
        const Level& from = levels_.back();
        if (from.width % 2 != 0 || from.height % 2 != 0 ||
            std::min(from.width, from.height) / 2 < kShortest) {
            return;
        }
        Level to{from.width / 2, from.height / 2, {}};
        to.pixels.resize(size_t{to.width} * to.height);
        for (uint32_t row = 0; row < to.height; ++row) {
            const uint8_t* const upper = from.pixels.data() + size_t{2 * row} * from.width;
            const uint8_t* const lower = upper + from.width;
            uint8_t* const target = to.pixels.data() + size_t{row} * to.width;
            for (uint32_t x = 0; x < to.width; ++x) {
                const int sum = upper[2 * x] + upper[2 * x + 1] + lower[2 * x] + lower[2 * x + 1];
                target[x] = static_cast<uint8_t>((sum + 2) / 4);
            }
        }
        levels_.push_back(std::move(to));
    }
}

}  // namespace Simulator
