// The furnished room that the wearer of the headset walks through.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "world/markers.h"
#include "world/scene.h"
#include "world/trajectory.h"

namespace Simulator {

/// 6 m from west to east, 5 m from south to north, 2.7 m high; the middle is free. Posters with
/// markers hang on the walls, and some are on floor and ceiling.
///
/// Threading: constant, for any thread.
class Room {
  public:
    explicit Room(uint64_t seed);

    /// The room, and hands with controllers in them.
    /// @param worldTime in ns
    Scene at(const Trajectory& trajectory, int64_t worldTime) const;

    /// Where they are in any room.
    static std::vector<Marker> markers();

  private:
    std::vector<std::unique_ptr<const Texture>> textures_;
    const Texture* material_;
    Scene furniture_;
};

}  // namespace Simulator
