#include "camera/camera_options.h"

#include <CLI/CLI.hpp>

namespace Simulator {

void addCameraOptions(CLI::App& app, CameraSettings* settings) {
    constexpr char kGroup[] = "Cameras";
    app.add_flag("!--no-frame-counter", settings->hasFrameCounter,
                 "Leave out the print of camera and frame in the corner of the images")
        ->group(kGroup);
    app.add_option("--markers", settings->markers,
                   "File for the places of the corners of the markers on the walls, as CSV")
        ->type_name("FILE")
        ->group(kGroup);
}

}  // namespace Simulator
