// The streams of cameras: "cameras" for all that there are, "camera-headset" and the like for one.
#pragma once

#include "stream_kinds.h"

void addCameraStreams(std::vector<StreamKind>& kinds);
