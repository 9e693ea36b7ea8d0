// One fault, as a user asks for it: what kind, of what, and when.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hal.h"

namespace Simulator {

enum class FaultKind {
    // Of a call.
    REFUSE,
    LATE,
    HANG,
    // Of a stream of samples or of frame sets.
    STOP,
    DROP,
    DELAY,
    // Of a stream of samples.
    STICK,
    NOT_A_NUMBER,
    CLIP,
    JUMP,
    WRAP,
    CORRUPT,
    // Of a stream of frame sets.
    NOT_RECEIVED,
    INVALID,
    REUSE,
    // Of a controller.
    DISCONNECT,
    SLEEP,
    FLAT,
    OUT_OF_REACH,
};

struct Fault {
    FaultKind kind{};
    /// As in the list of targets.
    std::string target;
    // What the kind has of these.
    Hidl::Result result{};
    std::chrono::nanoseconds time{0};
    double number = 0;

    /// Whose calls and streams it is for; none: everybody's.
    std::optional<int> process;
    /// It comes at that one only, counted from 1; 0: at all of them.
    uint64_t nth = 0;
    bool isOnce = false;
    double probability = 1;
};

/// A name as it is written in the text of a fault: without spaces, in small letters. Names of calls
/// stay as they are.
std::string targetName(const std::string& name);

/// "KIND TARGET [VALUE] [client=PROCESS] [nth=N] [once] [probability=P]".
/// @param words each may hold spaces, which count as hyphens
/// @param error receives what is wrong with it
/// @return none if anything is
std::optional<Fault> parseFault(const std::vector<std::string>& words, std::string* error);

/// What parseFault reads.
std::string toText(const Fault& fault);

/// "1.5s", "20ms", "3us", "4ns". @return none if it is no time from 0 to an hour
std::optional<std::chrono::nanoseconds> parseTime(const std::string& text);

/// A line for each kind: its name, what it is for, its value, what it does.
std::vector<std::string> describeFaultKinds();

/// Whether the target of that kind is a call, a stream or a controller.
enum class FaultTarget { CALL, STREAM, SAMPLES, FRAME_SETS, CONTROLLER };
FaultTarget targetOf(FaultKind kind);

}  // namespace Simulator
