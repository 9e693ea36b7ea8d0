// Gathers what the areas offer.
#include "stream_kinds.h"

std::vector<StreamKind> streamKinds() {
    std::vector<StreamKind> all;
    for (auto addKinds :
         {addMotionStreams, addCameraStreams, addControllerStreams, addEnvironmentStreams}) {
        addKinds(all);
    }
    return all;
}
