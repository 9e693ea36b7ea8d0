// Why a server refuses a client or its stream.
#pragma once

#include <string>

namespace Simulator {

enum class Refusal {
    NONE,
    NO_IDENTITY,
    DEAD,
    TOO_MANY_CLIENTS,
    TOO_MANY_DESCRIPTORS,
    IS_KNOWN,
    ID_IS_TAKEN,
    NO_MEMORY,
    NO_THREAD,
    QUEUE_NOT_MAPPED,
    QUEUE_SIZE,
    EVENT_FLAG_NOT_MAPPED,
    EVENT_FLAG_BITS,
};

/// For log lines.
std::string textOf(Refusal refusal);

}  // namespace Simulator
