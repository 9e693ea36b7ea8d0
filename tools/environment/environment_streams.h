// The streams flicker, adc-flicker, ambient-light and external-timing.
#pragma once

#include "stream_kinds.h"

void addEnvironmentStreams(std::vector<StreamKind>& kinds);
