// What a user chooses of the cameras.
#pragma once

#include <string>

namespace Simulator {

struct CameraSettings {
    /// Whether camera and frame are printed in the corner of the images.
    bool hasFrameCounter = true;
    /// File for where the markers on the walls are; empty: none.
    std::string markers;
};

}  // namespace Simulator
