#include "world/room.h"

#include <fmt/format.h>

#include <array>
#include <cmath>
#include <utility>

namespace Simulator {
namespace {

constexpr double kTexelsPerMetre = 400;
constexpr double kMaterialTexelsPerMetre = 512;
constexpr uint32_t kMaterialSize = 1024;  // in texels, square

struct Wall {
    const char* name;
    // Corner and sides, as those of a Rectangle.
    Vector corner;
    Vector right;
    Vector down;
    float light;
    double hue;
};

const std::array<Wall, 6>& walls() {
    static const std::array<Wall, 6> walls{{
        {"north", {-3, 2.5, 2.7}, {6, 0, 0}, {0, 0, -2.7}, 0.90F, 0.4},
        {"east", {3, 2.5, 2.7}, {0, -5, 0}, {0, 0, -2.7}, 0.84F, 2.1},
        {"south", {3, -2.5, 2.7}, {-6, 0, 0}, {0, 0, -2.7}, 0.87F, 3.9},
        {"west", {-3, -2.5, 2.7}, {0, 5, 0}, {0, 0, -2.7}, 0.93F, 5.2},
        {"floor", {-3, 2.5, 0}, {6, 0, 0}, {0, -5, 0}, 1.0F, 0.9},
        {"ceiling", {-3, -2.5, 2.7}, {6, 0, 0}, {0, 5, 0}, 0.75F, 3.0},
    }};
    return walls;
}

/// Whose white margin is one cell wide.
struct Poster {
    uint32_t id;
    size_t wall;
    // Of the black square, from the wall's corner, in cells, so that the edges of all cells are
    // those of texels at every distance.
    uint32_t right;
    uint32_t down;
};

constexpr Poster kPosters[] = {
    {0, 0, 2, 2},    {1, 0, 17, 1},   {2, 0, 32, 2},   {3, 0, 47, 1},   {4, 0, 10, 10},
    {5, 0, 25, 10},  {6, 0, 40, 10},  {7, 0, 53, 10},  {8, 1, 1, 1},    {9, 1, 15, 2},
    {10, 1, 29, 1},  {11, 1, 43, 2},  {12, 1, 8, 10},  {13, 1, 22, 10}, {14, 1, 36, 10},
    {15, 2, 7, 1},   {16, 2, 22, 2},  {17, 2, 37, 1},  {18, 2, 52, 2},  {19, 2, 1, 10},
    {20, 2, 14, 10}, {21, 2, 29, 10}, {22, 2, 44, 10}, {23, 3, 1, 2},   {24, 3, 15, 1},
    {25, 3, 29, 2},  {26, 3, 43, 1},  {27, 3, 8, 10},  {28, 3, 22, 10}, {29, 3, 36, 10},
    {30, 4, 5, 12},  {31, 4, 19, 13}, {32, 4, 33, 11}, {33, 4, 47, 12}, {34, 4, 12, 23},
    {35, 4, 26, 24}, {36, 4, 40, 22}, {37, 4, 5, 34},  {38, 4, 19, 35}, {39, 4, 33, 33},
    {40, 4, 47, 34}, {41, 5, 8, 6},   {42, 5, 27, 7},  {43, 5, 46, 6},  {44, 5, 15, 21},
    {45, 5, 39, 22}, {46, 5, 5, 36},  {47, 5, 22, 37}, {48, 5, 35, 36}, {49, 5, 48, 37}};

constexpr uint8_t kBlack = 22;
constexpr uint8_t kWhite = 236;

void drawPoster(const Poster& poster, Texture* texture) {
    const auto texelsPerCell = static_cast<uint32_t>(std::lround(kMarkerCell * kTexelsPerMetre));
    const auto fill = [&](uint32_t right, uint32_t down, uint32_t cells, uint8_t grey) {
        texture->fill(right * texelsPerCell, down * texelsPerCell, cells * texelsPerCell,
                      cells * texelsPerCell, grey);
    };
    fill(poster.right - 1, poster.down - 1, kMarkerCells + 2, kWhite);
    for (uint32_t row = 0; row < kMarkerCells; ++row) {
        for (uint32_t column = 0; column < kMarkerCells; ++column) {
            fill(poster.right + column, poster.down + row, 1,
                 isMarkerCellWhite(poster.id, row, column) ? kWhite : kBlack);
        }
    }
}

/// Along the walls, and below the posters.
struct Piece {
    Vector centre;
    Vector size;
    /// About the vertical, in rad.
    double turn;
    double hue;
};

const std::vector<Piece>& pieces() {
    static const std::vector<Piece> pieces{
        // A table with two boxes on it.
        {{0.2, 2.0, 0.74}, {1.8, 0.8, 0.04}, 0, 0.6},
        {{-0.64, 1.66, 0.36}, {0.06, 0.06, 0.72}, 0, 0.6},
        {{1.04, 1.66, 0.36}, {0.06, 0.06, 0.72}, 0, 0.6},
        {{-0.64, 2.34, 0.36}, {0.06, 0.06, 0.72}, 0, 0.6},
        {{1.04, 2.34, 0.36}, {0.06, 0.06, 0.72}, 0, 0.6},
        {{-0.2, 2.05, 0.87}, {0.32, 0.24, 0.22}, 0.4, 4.6},
        {{0.55, 1.95, 0.835}, {0.22, 0.30, 0.15}, -0.3, 2.6},
        // Crates.
        {{2.55, -1.9, 0.30}, {0.6, 0.6, 0.6}, 0.25, 1.6},
        {{2.50, -1.95, 0.78}, {0.4, 0.36, 0.36}, -0.35, 5.6},
        {{-2.5, 1.95, 0.25}, {0.7, 0.5, 0.5}, -0.2, 3.4},
        // A chest of drawers.
        {{-0.6, -2.27, 0.40}, {1.2, 0.42, 0.8}, 0, 0.2},
    };
    return pieces;
}

/// Of a controller, and of the hand that holds it; along the controller's axes.
const std::vector<Piece>& controllerPieces() {
    static const std::vector<Piece> pieces{
        {{0, -0.02, -0.005}, {0.034, 0.12, 0.034}, 0, 1.0},
        {{0, 0.055, 0.012}, {0.062, 0.05, 0.024}, 0, 1.0},
    };
    return pieces;
}

struct HandPart {
    Vector centre;
    Vector radii;
    double turn;
};

const std::vector<HandPart>& handParts() {
    static const std::vector<HandPart> parts{
        {{0, -0.03, -0.02}, {0.045, 0.05, 0.03}, 0},         // palm
        {{0, -0.21, -0.05}, {0.036, 0.15, 0.036}, 0},        // forearm
        {{0.022, 0.02, 0.018}, {0.011, 0.035, 0.011}, 0.4},  // thumb
        {{-0.024, 0.01, 0.006}, {0.012, 0.036, 0.012}, -0.3},
        {{-0.03, -0.012, 0.002}, {0.012, 0.036, 0.012}, -0.5},
    };
    return parts;
}

constexpr uint32_t kLedsPerController = 12;
constexpr double kLedRing = 0.045;     // in m, radius
constexpr double kLedRadius = 0.0025;  // in m
constexpr float kLedLight = 14;
constexpr float kSkin = 0.55F;

void addHand(const Pose& controller, const Texture& material, Scene* scene) {
    for (const Piece& piece : controllerPieces()) {
        scene->solids.push_back(
            block(controller * Pose{Eigen::Quaterniond::Identity(), piece.centre}, piece.size,
                  material, 4 * kMaterialTexelsPerMetre, tintOf(piece.hue)));
    }
    for (const HandPart& part : handParts()) {
        const Pose pose{turnBy({0, 0, part.turn}), part.centre};
        scene->ellipsoids.push_back({controller * pose, part.radii, kSkin, tintOf(0.35) / 2});
    }
    for (uint32_t i = 0; i < kLedsPerController; ++i) {
        const double angle = 2 * M_PI * i / kLedsPerController;
        const Vector outward{std::cos(angle), std::sin(angle), 0};
        const Vector place = kLedRing * outward + Vector(0, 0.055, 0.02);
        scene->leds.push_back({controller * place,
                               controller.orientation * (outward + Vector::UnitZ()).normalized(),
                               kLedRadius, kLedLight});
    }
}

}  // namespace

Room::Room(uint64_t seed) {
    const auto addTexture = [&](double width, double height, double texelsPerMetre,
                                const char* name) {
        auto texture = std::make_unique<Texture>(
            static_cast<uint32_t>(std::lround(width * texelsPerMetre)),
            static_cast<uint32_t>(std::lround(height * texelsPerMetre)), texelsPerMetre,
            Random(seed, fmt::format("texture of the {}", name)));
        Texture* const result = texture.get();
        textures_.push_back(std::move(texture));
        return result;
    };
    for (size_t i = 0; i < walls().size(); ++i) {
        const Wall& wall = walls()[i];
        Texture* const texture =
            addTexture(wall.right.norm(), wall.down.norm(), kTexelsPerMetre, wall.name);
        for (const Poster& poster : kPosters) {
            if (poster.wall == i) {
                drawPoster(poster, texture);
            }
        }
        texture->makeLevels();
        furniture_.room.sides.push_back({wall.corner, wall.right, wall.down, texture,
                                         Eigen::Vector2d::Zero(), kTexelsPerMetre, wall.light,
                                         tintOf(wall.hue)});
    }
    const double materialSide = kMaterialSize / kMaterialTexelsPerMetre;
    Texture* const material =
        addTexture(materialSide, materialSide, kMaterialTexelsPerMetre, "furniture");
    material->makeLevels();
    material_ = material;
    for (const Piece& piece : pieces()) {
        furniture_.solids.push_back(block({turnBy({0, 0, piece.turn}), piece.centre}, piece.size,
                                          *material, kMaterialTexelsPerMetre, tintOf(piece.hue)));
    }
}

Scene Room::at(const Trajectory& trajectory, int64_t worldTime) const {
    Scene scene = furniture_;
    for (const Hand hand : {Hand::kLeft, Hand::kRight}) {
        addHand(trajectory.handPose(hand, worldTime), *material_, &scene);
    }
    return scene;
}

std::vector<Marker> Room::markers() {
    std::vector<Marker> markers;
    for (const Poster& poster : kPosters) {
        const Wall& wall = walls()[poster.wall];
        const Vector right = wall.right.normalized();
        const Vector down = wall.down.normalized();
        const Vector corner =
            wall.corner + kMarkerCell * (poster.right * right + poster.down * down);
        markers.push_back({poster.id,
                           {corner, corner + kMarkerSide * right,
                            corner + kMarkerSide * (right + down), corner + kMarkerSide * down}});
    }
    return markers;
}

}  // namespace Simulator
