#include "world/eye.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace Simulator {

/// What the pixels of a tile see, independent of the eye's movements.
struct EyeRenderer::Surface {
    // The eyeball's normal, along the headset's axes.
    alignas(64) TilePlane x;
    alignas(64) TilePlane y;
    alignas(64) TilePlane z;
    /// 1 where the face around the eye is seen.
    alignas(64) TilePlane isFace;
    alignas(64) TilePlane skin;
    /// How the light falls on it.
    alignas(64) TilePlane light;
};

namespace {

// In m and rad.
constexpr double kEyeRadius = 0.012;
constexpr double kRingRadius = 0.012;
constexpr double kPupil = 0.17;
constexpr double kIris = 0.50;
constexpr double kLidOpen = 0.55;
constexpr double kLowerLid = -0.60;

constexpr float kPupilGrey = 14;
constexpr float kIrisGrey = 92;
constexpr float kScleraGrey = 205;
constexpr float kSkinGrey = 150;
constexpr float kGlint = 400;
constexpr float kGlintDeviation = 1.6F;  // in pixels

constexpr int64_t kFixation = 700'000'000;  // in ns
constexpr int64_t kSaccade = 45'000'000;
constexpr int64_t kBlinkEvery = 3'700'000'000;
constexpr int64_t kBlink = 220'000'000;

double smooth(double x) {
    const double inside = std::clamp(x, 0.0, 1.0);
    return inside * inside * (3 - 2 * inside);
}

/// What is looked at, along the headset's axes.
Vector targetOf(const Random& random, int64_t fixation) {
    const auto draw = static_cast<uint64_t>(fixation) * 3;
    const double yaw = random.uniform(draw, -0.35, 0.35);
    const double pitch = random.uniform(draw + 1, -0.3, 0.2);
    const double distance = 1 / random.uniform(draw + 2, 0.2, 2.5);
    return distance * Vector(std::sin(yaw), std::cos(yaw) * std::cos(pitch), std::sin(pitch));
}

/// 1 below the edge, 0 above, over a width.
float below(float value, float edge, float perWidth) {
    const float x = (edge - value) * perWidth + 0.5F;
    return std::min(std::max(x, 0.0F), 1.0F);
}

}  // namespace

EyeState eyeStateAt(const Random& random, const Vector& eye, int64_t worldTime) {
    const int64_t fixation = std::max<int64_t>(worldTime, 0) / kFixation;
    const double moved = smooth(static_cast<double>(worldTime - fixation * kFixation) / kSaccade);
    const Vector from = (targetOf(random, fixation) - eye).normalized();
    const Vector to = (targetOf(random, fixation + 1) - eye).normalized();
    const auto sinceBlink = static_cast<double>(std::max<int64_t>(worldTime, 0) % kBlinkEvery);
    const double shut = 1 - std::abs(sinceBlink / (kBlink / 2.0) - 1);
    return {(from + moved * (to - from)).normalized(), 1 - smooth(1.6 * shut)};
}

EyeRenderer::EyeRenderer(const Lens& lens, uint32_t width, uint32_t height, const Pose& camera,
                         const Vector& eye)
    : columns_((width + kTileWidth - 1) / kTileWidth),
      surfaces_(size_t{columns_} * ((height + kTileHeight - 1) / kTileHeight)) {
    const Vector toCamera = camera.position - eye;
    const Random random(0, "skin");
    for (size_t i = 0; i < surfaces_.size() * kTileSize; ++i) {
        const size_t tile = i / kTileSize;
        const size_t pixel = i % kTileSize;
        const size_t u = tile % columns_ * kTileWidth + pixel % kTileWidth;
        const size_t v = tile / columns_ * kTileHeight + pixel / kTileWidth;
        const Vector ray =
            camera.orientation * lens.unproject({static_cast<double>(u), static_cast<double>(v)});
        const double half = ray.dot(toCamera);
        const double discriminant = half * half - toCamera.squaredNorm() + kEyeRadius * kEyeRadius;
        const bool isEye = discriminant > 0;
        const Vector normal =
            isEye ? Vector((toCamera + (-half - std::sqrt(discriminant)) * ray) / kEyeRadius)
                  : Vector(-ray);
        Surface& surface = surfaces_[tile];
        surface.x[pixel] = static_cast<float>(normal.x());
        surface.y[pixel] = static_cast<float>(normal.y());
        surface.z[pixel] = static_cast<float>(normal.z());
        surface.isFace[pixel] = isEye ? 0 : 1;
        surface.skin[pixel] =
            kSkinGrey + static_cast<float>(random.uniform(u / 3 + 1000 * (v / 3), -12, 12));
        surface.light[pixel] = static_cast<float>(0.35 + 0.65 * std::max(0.0, -normal.dot(ray)));
    }
    for (size_t i = 0; i < kIlluminators; ++i) {
        const double angle = 2 * M_PI * static_cast<double>(i) / kIlluminators;
        const Vector led =
            camera * (kRingRadius * Vector(std::cos(angle), std::sin(angle), 0)) - eye;
        const Vector mirror = (led.normalized() + toCamera.normalized()).normalized();
        const auto place = lens.project(camera.inverse() * (eye + kEyeRadius * mirror));
        glints_[i] = place->cast<float>();
    }
}

EyeRenderer::~EyeRenderer() = default;

void EyeRenderer::draw(const EyeState& state, const std::array<float, kIlluminators>& illuminators,
                       const std::function<void(const Tile&)>& take) const {
    const Eigen::Vector3f gaze = state.gaze.cast<float>();
    const float x = gaze.x();
    const float y = gaze.y();
    const float z = gaze.z();
    float brightness = 0;
    for (const float illuminator : illuminators) {
        brightness += illuminator / kIlluminators;
    }
    // Edges in 1 - cosine of the angle from where the eye looks, a pixel or two wide.
    const auto pupil = static_cast<float>(1 - std::cos(kPupil));
    const auto iris = static_cast<float>(1 - std::cos(kIris));
    // The upper lid comes down to meet the lower one, and follows where the eye looks.
    const auto open = static_cast<float>(state.openness);
    const auto lower = static_cast<float>(std::sin(kLowerLid + 0.3 * state.gaze.z()));
    const float upper =
        lower + open * (static_cast<float>(std::sin(kLidOpen + 0.6 * state.gaze.z())) - lower);
    Tile tile;
    for (size_t index = 0; index < surfaces_.size(); ++index) {
        const Surface& surface = surfaces_[index];
        tile.column = static_cast<uint32_t>(index % columns_);
        tile.row = static_cast<uint32_t>(index / columns_);
        for (size_t i = 0; i < kTileSize; ++i) {
            const float off = 1 - (surface.x[i] * x + surface.y[i] * y + surface.z[i] * z);
            const float grey = kScleraGrey + (kIrisGrey - kScleraGrey) * below(off, iris, 100) +
                               (kPupilGrey - kIrisGrey) * below(off, pupil, 500);
            const float isBare = below(surface.z[i], upper, 60) * below(lower, surface.z[i], 60);
            const float isSkin = std::max(surface.isFace[i], 1 - isBare);
            tile.ledLight[i] =
                brightness * surface.light[i] * (grey + isSkin * (surface.skin[i] - grey));
        }
        for (size_t led = 0; led < kIlluminators; ++led) {
            const float left = glints_[led].x() - static_cast<float>(tile.column * kTileWidth);
            const float top = glints_[led].y() - static_cast<float>(tile.row * kTileHeight);
            constexpr float kReach = 4 * kGlintDeviation;
            if (left < -kReach || top < -kReach || left > kTileWidth + kReach ||
                top > kTileHeight + kReach) {
                continue;
            }
            for (uint32_t i = 0; i < kTileSize; ++i) {
                const float u = static_cast<float>(i % kTileWidth) - left;
                const float v = static_cast<float>(i / kTileWidth) - top;
                const float strength =
                    std::exp(-0.5F * (u * u + v * v) / (kGlintDeviation * kGlintDeviation));
                tile.ledLight[i] += open * illuminators[led] * kGlint * strength;
            }
        }
        take(tile);
    }
}

}  // namespace Simulator
