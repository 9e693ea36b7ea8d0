// Square markers on the walls of the simulated room, from a dictionary that public detectors know.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "world/geometry.h"

namespace Simulator {

/// Cells along a side: four of the pattern and one black one on each end.
inline constexpr uint32_t kMarkerCells = 6;
inline constexpr double kMarkerSide = 0.60;  // in m, of the black square
inline constexpr double kMarkerCell = kMarkerSide / kMarkerCells;

struct Marker {
    /// In the public dictionary of 50 patterns of 4 x 4 cells.
    uint32_t id;
    /// Corners of the black square, in m in the world: upper left, upper right, lower right, lower
    /// left, as seen from the front.
    std::array<Vector, 4> corners;
};

/// Whether a cell is white; row 0 is the uppermost.
bool isMarkerCellWhite(uint32_t id, uint32_t row, uint32_t column);

/// Lines "id,corner,x,y,z" under a line of names; corners 0 to 3 in the order above.
std::string listOf(const std::vector<Marker>& markers);

}  // namespace Simulator
