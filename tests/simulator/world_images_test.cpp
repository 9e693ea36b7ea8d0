// Images of the simulated cameras compared with the positions and the light of the world.
#include "camera/world_images.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <numeric>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "support/client_end.h"

namespace {

using namespace Simulator;
using Eigen::Vector2d;

constexpr int64_t kStanding = 1'000'000'000;
constexpr Hidl::ExposureGain kShort{4'000'000, 3, 1};
constexpr Hidl::ExposureGain kPeriod{10'000'000, 1.2F, 1};

const std::shared_ptr<const World>& world() {
    static const std::shared_ptr<const World> world = std::make_shared<World>(WorldSettings{});
    return world;
}

/// One for each kind of lamps; what is expensive is made once.
WorldImages& imagesUnder(uint32_t flickerFrequency) {
    static const auto make = [](uint32_t frequency) {
        CameraSettings settings;
        settings.hasFrameCounter = false;
        return std::make_unique<WorldImages>(
            settings, world(), std::make_shared<RoomLight>(frequency, 300), new LedService);
    };
    static const auto steady = make(0);
    static const auto flickering = make(100);
    return flickerFrequency == 0 ? *steady : *flickering;
}

struct Camera {
    const CameraStreamPlan& stream;
    const CameraPlan& plan;
};

Camera cameraOf(uint32_t id) {
    for (const CameraStreamPlan& stream : cameraStreamPlans()) {
        for (const CameraPlan& plan : stream.cameras) {
            if (plan.id == id) {
                return {stream, plan};
            }
        }
    }
    throw std::logic_error("no such camera");
}

class Image {
  public:
    Image(WorldImages& source, const Camera& camera, int64_t worldTime,
          const Hidl::ExposureGain& exposure, uint32_t sequence = 0)
        : format_(camera.stream.pixelFormat),
          geometry_(geometryOf(camera.stream, Hidl::Resolution::FULL)),
          bytes(size_t{geometry_.stride} * geometry_.height) {
        source.draw({camera.stream, camera.plan, sequence, worldTime, exposure},
                    {bytes.data(), format_, geometry_.width, geometry_.height, geometry_.stride});
    }

    uint32_t width() const { return geometry_.width; }
    uint32_t height() const { return geometry_.height; }

    /// Of grey images, of depth images in mm; of coloured ones the green.
    double at(uint32_t x, uint32_t y) const {
        const uint8_t* const pixel =
            bytes.data() + size_t{y} * geometry_.stride + size_t{x} * bytesPerPixel(format_);
        switch (format_) {
            case Hidl::PixelFormat::GREY_8:
                return pixel[0];
            case Hidl::PixelFormat::RGBA_8888:
                return pixel[1];
            case Hidl::PixelFormat::GREY_10:
            case Hidl::PixelFormat::DEPTH_16:
                break;
        }
        return pixel[0] + 256.0 * pixel[1];
    }

    /// Between the pixels.
    double at(const Vector2d& place) const {
        const auto x = static_cast<uint32_t>(place.x());
        const auto y = static_cast<uint32_t>(place.y());
        const double right = place.x() - x;
        const double down = place.y() - y;
        return (1 - down) * ((1 - right) * at(x, y) + right * at(x + 1, y)) +
               down * ((1 - right) * at(x, y + 1) + right * at(x + 1, y + 1));
    }

    bool contains(const Vector2d& place) const {
        constexpr double kMargin = 12;
        return place.x() > kMargin && place.y() > kMargin && place.x() < width() - kMargin &&
               place.y() < height() - kMargin;
    }

    double meanOfRow(uint32_t y) const {
        double sum = 0;
        for (uint32_t x = 0; x < width(); ++x) {
            sum += at(x, y);
        }
        return sum / width();
    }
    double mean() const {
        double sum = 0;
        for (uint32_t y = 0; y < height(); ++y) {
            sum += meanOfRow(y);
        }
        return sum / height();
    }

  private:
    Hidl::PixelFormat format_;
    ImageGeometry geometry_;

  public:
    std::vector<uint8_t> bytes;
};

/// A point of the world, along the camera's axes at the time when its row is exposed.
Vector seenBy(const Camera& camera, const Vector& point, int64_t worldTime) {
    Vector seen = Vector::Zero();
    double row = (camera.stream.height - 1) / 2.0;
    for (int step = 0; step < 4; ++step) {
        const double late = (row - (camera.stream.height - 1) / 2.0) * camera.stream.rowTime;
        const Pose headset = world()->trajectory.at(worldTime + std::llround(late)).pose;
        seen = (headset * camera.plan.mount).inverse() * point;
        if (const auto place = camera.plan.lens.project(seen)) {
            row = place->y();
        }
    }
    return seen;
}

std::optional<Vector2d> placeOf(const Camera& camera, const Vector& point, int64_t worldTime) {
    return camera.plan.lens.project(seenBy(camera, point, worldTime));
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values.at(values.size() / 2);
}

/// Distance by which an edge of a marker appears outside of its true position, at one point.
/// @param outward to the marker's outside, in the plane of its wall, of length 1
std::optional<double> edgeOffset(const Image& image, const Camera& camera, int64_t worldTime,
                                 const Vector& point, const Vector& outward) {
    const auto inside = placeOf(camera, point - kMarkerCell / 2 * outward, worldTime);
    const auto edge = placeOf(camera, point, worldTime);
    const auto outside = placeOf(camera, point + kMarkerCell / 2 * outward, worldTime);
    if (!inside || !edge || !outside || !image.contains(*inside) || !image.contains(*outside)) {
        return std::nullopt;
    }
    const double reach = (*outside - *edge).norm();
    if (reach < 2.5) {
        return std::nullopt;
    }
    const Vector2d direction = (*outside - *inside).normalized();
    const double black = image.at(*inside);
    const double white = image.at(*outside);
    if (white < 2 * black) {
        return std::nullopt;  // something is in front of it
    }
    constexpr double kStep = 0.05;
    for (double along = -reach; along < reach; along += kStep) {
        if (image.at(Vector2d(*edge + along * direction)) > (black + white) / 2) {
            return along - kStep / 2;
        }
    }
    return std::nullopt;
}

std::vector<double> edgeOffsets(const Image& image, const Camera& camera, int64_t worldTime) {
    std::vector<double> offsets;
    for (const Marker& marker : Room::markers()) {
        const auto& corners = marker.corners;
        const Vector middle = (corners[0] + corners[2]) / 2;
        const Vector facing = (corners[3] - corners[0]).cross(corners[1] - corners[0]);
        const Pose headset = world()->trajectory.at(worldTime).pose;
        if (facing.dot(headset.position - middle) < 0.3 * facing.norm()) {
            continue;
        }
        for (size_t i = 0; i < corners.size(); ++i) {
            const Vector& from = corners[i];
            const Vector& to = corners[(i + 1) % corners.size()];
            const Vector outward = ((from + to) / 2 - middle).normalized();
            for (const double part : {0.3, 0.5, 0.7}) {
                const auto offset =
                    edgeOffset(image, camera, worldTime, from + part * (to - from), outward);
                if (offset) {
                    offsets.push_back(*offset);
                }
            }
        }
    }
    return offsets;
}

/// When the head turns at about that rate, in rad/s.
int64_t timeOfRate(double least, double most) {
    for (int64_t time = 8'000'000'000;; time += 50'000'000) {
        const double rate = world()->trajectory.at(time).angularRate.norm();
        if (rate > least && rate < most) {
            return time;
        }
    }
}

TEST(WorldImagesTest, MarkersAreSeenWhereTheCalibrationPutsThem) {
    for (const uint32_t id : {0U, 1U, 2U, 6U}) {
        const Camera camera = cameraOf(id);
        for (const int64_t time : {kStanding, timeOfRate(0.8, 1.2)}) {
            SCOPED_TRACE(testing::Message() << camera.plan.name << " at " << time);
            const Image image(imagesUnder(0), camera, time, {4'000'000, 3, 1});
            std::vector<double> offsets = edgeOffsets(image, camera, time);
            ASSERT_GT(offsets.size(), 20U);
            EXPECT_NEAR(median(offsets), 0, 0.05);
            for (double& offset : offsets) {
                offset = std::abs(offset);
            }
            EXPECT_LT(median(offsets), 0.06);
        }
    }
}

TEST(WorldImagesTest, DepthIsTheDistanceAlongTheAxisInMillimetres) {
    const Camera camera = cameraOf(5);
    std::vector<double> errors;
    for (int64_t time = kStanding; time < 20 * kStanding; time += kStanding) {
        const Image image(imagesUnder(0), camera, time, kPeriod);
        for (const Marker& marker : Room::markers()) {
            const Vector middle = (marker.corners[0] + marker.corners[2]) / 2;
            const auto place = placeOf(camera, middle, time);
            if (place && image.contains(*place)) {
                errors.push_back(
                    std::abs(image.at(*place) / 1000 / seenBy(camera, middle, time).z() - 1));
            }
        }
    }
    ASSERT_GT(errors.size(), 10U);
    EXPECT_LT(median(errors), 0.005);
}

/// How much the surroundings of two places differ; none if one of them is at the rim.
std::optional<double> difference(const Image& a, const Vector2d& placeInA, const Image& b,
                                 const Vector2d& placeInB) {
    if (!a.contains(placeInA) || !b.contains(placeInB)) {
        return std::nullopt;
    }
    constexpr int kReach = 4;
    double sum = 0;
    for (int y = -kReach; y <= kReach; ++y) {
        for (int x = -kReach; x <= kReach; ++x) {
            const Vector2d offset(x, y);
            sum +=
                std::pow(a.at(Vector2d(placeInA + offset)) - b.at(Vector2d(placeInB + offset)), 2);
        }
    }
    return sum;
}

TEST(WorldImagesTest, StereoPairSeesTheDistancesThatTheDepthCameraMeasures) {
    const Camera left = cameraOf(0);
    const Camera right = cameraOf(1);
    const Camera depth = cameraOf(5);
    const Image leftImage(imagesUnder(0), left, kStanding, {4'000'000, 3, 1});
    const Image rightImage(imagesUnder(0), right, kStanding, {4'000'000, 3, 1});
    const Image distances(imagesUnder(0), depth, kStanding, kPeriod);
    const Pose leftFromDepth = left.plan.mount.inverse() * depth.plan.mount;
    const Pose rightFromLeft = right.plan.mount.inverse() * left.plan.mount;
    std::vector<double> ratios;
    for (uint32_t y = 20; y < distances.height(); y += 20) {
        for (uint32_t x = 20; x < distances.width(); x += 20) {
            const Vector ray = depth.plan.lens.unproject({x, y});
            const Vector point = leftFromDepth * (ray / ray.z() * distances.at(x, y) / 1000);
            const auto inLeft = left.plan.lens.project(point);
            double best = 0;
            double least = std::numeric_limits<double>::infinity();
            for (double ratio = 0.85; inLeft && ratio < 1.15; ratio += 0.005) {
                const auto inRight = right.plan.lens.project(rightFromLeft * (ratio * point));
                const auto differs =
                    inRight ? difference(leftImage, *inLeft, rightImage, *inRight) : std::nullopt;
                if (differs && *differs < least) {
                    least = *differs;
                    best = ratio;
                }
            }
            if (best > 0) {
                ratios.push_back(best);
            }
        }
    }
    ASSERT_GT(ratios.size(), 60U);
    EXPECT_NEAR(median(ratios), 1, 0.006);
    for (double& ratio : ratios) {
        ratio = std::abs(ratio - 1);
    }
    EXPECT_LT(median(ratios), 0.02);
}

TEST(WorldImagesTest, BrightnessGoesWithTimeAndGainAndNoiseWithGain) {
    const Camera camera = cameraOf(0);
    const auto imageWith = [&](const Hidl::ExposureGain& exposure, uint32_t sequence) {
        return Image(imagesUnder(0), camera, kStanding, exposure, sequence);
    };
    const auto noiseWith = [&](const Hidl::ExposureGain& exposure) {
        const Image first = imageWith(exposure, 1);
        const Image second = imageWith(exposure, 2);
        double sum = 0;
        for (uint32_t x = 0; x < first.width(); ++x) {
            sum += std::pow(first.at(x, 240) - second.at(x, 240), 2) / 2;
        }
        return std::sqrt(sum / first.width());
    };
    const double dim = imageWith({2'000'000, 1, 1}, 0).mean();
    EXPECT_GT(dim, 10);
    EXPECT_NEAR(imageWith({8'000'000, 1, 1}, 0).mean() / dim, 4, 0.1);
    EXPECT_NEAR(imageWith({2'000'000, 2, 2}, 0).mean() / dim, 4, 0.1);
    // A fourth of the photons, four times as much made of each.
    EXPECT_NEAR(noiseWith({2'000'000, 4, 1}) / noiseWith({8'000'000, 1, 1}), 2, 0.5);
    EXPECT_EQ(imageWith(kPeriod, 3).bytes, imageWith(kPeriod, 3).bytes);
}

TEST(WorldImagesTest, LampsFlickerUnlessTheExposureFitsTheirPeriod) {
    const auto spreadOf = [](const std::vector<double>& values) {
        const auto [least, most] = std::minmax_element(values.begin(), values.end());
        return *most / *least - 1;
    };
    // From frame to frame, where all rows are exposed together.
    const auto beat = [&](const Hidl::ExposureGain& exposure) {
        std::vector<double> means;
        for (uint32_t i = 0; i < 3; ++i) {
            means.push_back(
                Image(imagesUnder(100), cameraOf(0), kStanding + i * 16'666'667LL, exposure, i)
                    .mean());
        }
        return spreadOf(means);
    };
    EXPECT_GT(beat(kShort), 0.2);
    EXPECT_LT(beat(kPeriod), 0.02);
    // From row to row, where they are exposed one after the other.
    const auto banding = [&](const Hidl::ExposureGain& exposure) {
        const Image banded(imagesUnder(100), cameraOf(6), kStanding, exposure);
        const Image plain(imagesUnder(0), cameraOf(6), kStanding, exposure);
        std::vector<double> ratios;
        for (uint32_t y = 0; y < banded.height(); y += 8) {
            ratios.push_back(banded.meanOfRow(y) / plain.meanOfRow(y));
        }
        return spreadOf(ratios);
    };
    EXPECT_GT(banding(kShort), 0.3);
    EXPECT_LT(banding(kPeriod), 0.05);
}

TEST(WorldImagesTest, LedsOfControllersShineWhereTheirPosesSay) {
    const Camera camera = cameraOf(2);
    const Image image(imagesUnder(0), camera, kStanding, kPeriod);
    const Scene scene = Room(world()->seed).at(world()->trajectory, kStanding);
    const Pose pose = world()->trajectory.at(kStanding).pose * camera.plan.mount;
    size_t facing = 0;
    size_t bright = 0;
    for (const Led& led : scene.leds) {
        const auto place = placeOf(camera, led.position, kStanding);
        const Vector toCamera = (pose.position - led.position).normalized();
        if (place && image.contains(*place) && toCamera.dot(led.normal) > 0.4) {
            ++facing;
            bright += image.at(*place) > 900 ? 1 : 0;
        }
    }
    EXPECT_GE(facing, 8U);
    EXPECT_GE(bright, facing * 3 / 4);  // a hand may hide the others
}

TEST(WorldImagesTest, EyesAreDarkUntilTheirIlluminatorsShine) {
    const android::sp<LedService> leds = new LedService;
    WorldImages images(CameraSettings{false, ""}, world(), std::make_shared<RoomLight>(100, 300),
                       leds);
    constexpr int64_t kOpen = 1'500'000'000;  // between blinks
    EXPECT_LT(Image(images, cameraOf(3), kOpen, kPeriod).mean(), 2);
    const android::sp<TestSupport::FakeSensorClient> client = new TestSupport::FakeSensorClient;
    EXPECT_EQ(leds->enable(client), Hidl::Result::SUCCESS);
    for (const uint32_t id : {3U, 4U}) {
        const Camera camera = cameraOf(id);
        const Image image(images, camera, kOpen, kPeriod);
        EXPECT_GT(image.mean(), 40) << camera.plan.name;
        const Vector eye = camera.plan.mount * Vector(0, 0, kEyeCameraDistance);
        const EyeState state = eyeStateAt(Random(world()->seed, "eyes"), eye, kOpen);
        const auto pupil =
            camera.plan.lens.project(camera.plan.mount.inverse() * (eye + 0.012 * state.gaze));
        ASSERT_TRUE(pupil && image.contains(*pupil));
        EXPECT_LT(image.at(*pupil), 30) << camera.plan.name;
    }
}

TEST(LensTest, ProjectsAsCalibrationToolsDoAndBack) {
    // From OpenCV's projectPoints and fisheye::projectPoints.
    const std::vector<std::pair<uint32_t, std::array<Vector2d, 2>>> expected{
        {0, {{{433.61247840742, 163.95874154302}, {103.78979829317919, 393.96381967749846}}}},
        {2, {{{384.59743136603066, 156.26153901678737}, {201.05775504142605, 284.3968128593024}}}}};
    for (const auto& [id, places] : expected) {
        const Lens& lens = cameraOf(id).plan.lens;
        EXPECT_LT((*lens.project({0.3, -0.2, 1}) - places[0]).norm(), 1e-9) << id;
        EXPECT_LT((*lens.project({-0.7, 0.5, 1.1}) - places[1]).norm(), 1e-9) << id;
        for (const Vector2d& pixel : {Vector2d{0, 0}, Vector2d{639, 0}, Vector2d{320, 399}}) {
            EXPECT_LT((*lens.project(lens.unproject(pixel)) - pixel).norm(), 1e-8) << id;
            // The upper left pixel of a binned image is the mean of the first four.
            const Vector2d binned = *lens.binned(1).project(lens.unproject(pixel));
            EXPECT_LT((2 * binned + Vector2d::Constant(0.5) - pixel).norm(), 1e-8) << id;
        }
    }
    EXPECT_FALSE(cameraOf(0).plan.lens.project({0.1, 0.1, -1}));
}

}  // namespace
