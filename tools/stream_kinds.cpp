// Gathers what the areas offer.
#include "stream_kinds.h"

#include "camera/camera_streams.h"
#include "controller/controller_streams.h"
#include "environment/environment_streams.h"
#include "motion/motion_streams.h"

std::vector<StreamKind> streamKinds() {
    std::vector<StreamKind> all;
    for (auto addKinds :
         {addMotionStreams, addCameraStreams, addControllerStreams, addEnvironmentStreams}) {
        addKinds(all);
    }
    return all;
}
