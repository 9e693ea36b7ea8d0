// Rigid transformations as 4x4 matrices, row by row, as calibration files have them.
#pragma once

#include <array>
#include <cmath>

namespace Recording {

using RigidTransformation = std::array<double, 16>;

inline constexpr RigidTransformation kIdentity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

inline RigidTransformation product(const RigidTransformation& a, const RigidTransformation& b) {
    RigidTransformation result{};
    for (size_t row = 0; row < 4; ++row) {
        for (size_t column = 0; column < 4; ++column) {
            for (size_t i = 0; i < 4; ++i) {
                result[4 * row + column] += a[4 * row + i] * b[4 * i + column];
            }
        }
    }
    return result;
}

inline RigidTransformation inverse(const RigidTransformation& t) {
    RigidTransformation result = kIdentity;
    for (size_t row = 0; row < 3; ++row) {
        double translation = 0;
        for (size_t column = 0; column < 3; ++column) {
            result[4 * row + column] = t[4 * column + row];
            translation -= t[4 * column + row] * t[4 * column + 3];
        }
        result[4 * row + 3] = translation;
    }
    return result;
}

/// Whether the matrix is a rotation and a translation, up to rounding of printed numbers.
inline bool isRigid(const RigidTransformation& t) {
    constexpr double kRounding = 1e-3;
    const RigidTransformation square = product(t, inverse(t));
    bool isRigid = t[12] == 0 && t[13] == 0 && t[14] == 0 && t[15] == 1;
    for (size_t i = 0; i < square.size(); ++i) {
        isRigid = isRigid && std::abs(square[i] - kIdentity[i]) < kRounding;
    }
    return isRigid;
}

}  // namespace Recording
