// One fault, as requested by a user: its kind, target and conditions.
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
    /// A name from the list of targets.
    std::string target;
    // The value; each kind uses at most one of these.
    Hidl::Result result{};
    std::chrono::nanoseconds time{0};
    double number = 0;

    /// Process whose calls and streams are affected; empty: all processes.
    std::optional<int> process;
    /// The only call or batch that is affected, counted from 1; 0: all of them.
    uint64_t nth = 0;
    bool isOnce = false;
    double probability = 1;
};

/// A name as it is written in the text of a fault: in lower case, with hyphens for spaces. Names of
/// calls are unchanged.
std::string targetName(const std::string& name);

/// "KIND TARGET [VALUE] [client=PROCESS] [nth=N] [once] [probability=P]".
/// @param words a word may contain spaces, which count as hyphens
/// @param error receives an error message
/// @return empty if the fault is wrong
std::optional<Fault> parseFault(const std::vector<std::string>& words, std::string* error);

/// The text of a fault, which parseFault can read.
std::string toText(const Fault& fault);

/// Parses "1.5s", "20ms", "3us", "4ns". @return empty if it is not a time from 0 to an hour
std::optional<std::chrono::nanoseconds> parseTime(const std::string& text);

/// A line for each kind: its name, targets, value and effect.
std::vector<std::string> describeFaultKinds();

/// Targets of faults. STREAM: a stream of samples or of frame sets.
enum class FaultTarget { CALL, STREAM, SAMPLES, FRAME_SETS, CONTROLLER };
FaultTarget targetOf(FaultKind kind);

}  // namespace Simulator
