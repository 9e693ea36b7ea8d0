// The user's settings of the cameras.
#pragma once

#include <string>

namespace Simulator {

struct CameraSettings {
    /// Whether camera and frame are printed in the corner of the images.
    bool hasFrameCounter = true;
    /// File to which the positions of the markers on the walls are written; empty: none.
    std::string markers;
};

}  // namespace Simulator
