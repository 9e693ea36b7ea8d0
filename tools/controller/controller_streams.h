// The streams of the hand controllers: all of them as "controllers", and each by its own name.
#pragma once

#include "stream_kinds.h"

void addControllerStreams(std::vector<StreamKind>& kinds);
