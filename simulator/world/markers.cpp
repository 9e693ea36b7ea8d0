#include "world/markers.h"

#include <fmt/format.h>

#include <iterator>

namespace Simulator {
namespace {

/// Rows from above, columns from the left, the first in the highest bit; 1 is white. Facts of the
/// dictionary, from OpenCV's DICT_4X4_50.
constexpr uint16_t kPatterns[] = {
    0xb532, 0x0f9a, 0x332d, 0x9946, 0x549e, 0x79cd, 0x9e2e, 0xc4f2, 0xfeda, 0xcf56,
    0xf991, 0x11a7, 0x0eb7, 0x2a0f, 0x24b1, 0x263e, 0x4665, 0x6600, 0x6c5e, 0x76af,
    0x868b, 0xb02b, 0xccd5, 0xdd82, 0xfe47, 0x9471, 0xace4, 0xa554, 0x2123, 0x346f,
    0x4415, 0x57b2, 0x9ecf, 0xf0cb, 0x08ae, 0x0929, 0x1875, 0x04ff, 0x0df6, 0x1c5a,
    0x1718, 0x2a28, 0x328c, 0x38b2, 0x24e8, 0x2eeb, 0x2d3f, 0x4b64, 0x502e, 0x5013};

}  // namespace

bool isMarkerCellWhite(uint32_t id, uint32_t row, uint32_t column) {
    constexpr uint32_t kPatternCells = kMarkerCells - 2;
    const bool isBorder = row == 0 || column == 0 || row > kPatternCells || column > kPatternCells;
    const uint32_t bit = 15 - ((row - 1) * kPatternCells + column - 1);
    return !isBorder && (kPatterns[id % std::size(kPatterns)] >> bit & 1) != 0;
}

std::string listOf(const std::vector<Marker>& markers) {
    std::string text = "id,corner,x,y,z\n";
    for (const Marker& marker : markers) {
        for (size_t i = 0; i < marker.corners.size(); ++i) {
            const Vector& corner = marker.corners[i];
            text += fmt::format("{},{},{:.4f},{:.4f},{:.4f}\n", marker.id, i, corner.x(),
                                corner.y(), corner.z());
        }
    }
    return text;
}

}  // namespace Simulator
