// The streams imu, mag and iad.
#pragma once

#include "stream_kinds.h"

void addMotionStreams(std::vector<StreamKind>& kinds);
