// Gathers what the areas offer.
#include "stream_kinds.h"

#include "motion/motion_streams.h"

std::vector<StreamKind> streamKinds() {
    std::vector<StreamKind> all;
    for (auto addKinds : {addMotionStreams}) {
        addKinds(all);
    }
    return all;
}
