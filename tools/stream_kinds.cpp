// Collects the stream kinds of all areas.
#include "stream_kinds.h"

std::vector<StreamKind> streamKinds() {
    // "all" opens nothing itself: Session replaces it with its members.
    std::vector<StreamKind> all{
        {kAllStreams,
         [](const SessionOptions& /*options*/) -> std::vector<std::unique_ptr<SensorStream>> {
             return {};
         },
         true}};
    for (auto addKinds :
         {addMotionStreams, addCameraStreams, addControllerStreams, addEnvironmentStreams}) {
        addKinds(all);
    }
    return all;
}

std::vector<std::string> streamNames() {
    std::vector<std::string> names;
    for (const StreamKind& kind : streamKinds()) {
        names.push_back(kind.name);
    }
    return names;
}
