// The outcomes that are allowed for a client, and their log lines.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <regex>
#include <sstream>

#include "running_client.h"

namespace Soak {
namespace {

/// State of suppressTransportCrashDumps.
struct Suppression {
    /// Its value when the objects were made.
    std::optional<bool> ofObjects;
    std::optional<bool> now;
};

/// A line that the death of a service may cause.
struct KnownLine {
    std::regex pattern;
    /// Empty: the line does not decide the outcome.
    std::string outcome;
    /// The signal in which it ends; 0: none.
    int signal;
    bool (*isPrescribed)(const Suppression& suppression);
};

bool always(const Suppression& /*suppression*/) {
    return true;
}

const std::string kLibrary = "/Moriak-HidlWrapper: ";
const std::string kDeath = kLibrary + R"(Unexpected service death detected\. \S*/moriak-soak )";
const std::string kStatus = R"(Status\(EX_TRANSACTION_FAILED\): 'DEAD_OBJECT: ')";
const std::string kHidlError =
    kLibrary + "HIDL error in (virtual )?.*Vek::Sensors::HidlWrapper::[^:]+.*: " + kStatus;
const std::string kNullService =
    "GSL Precondition failure at external/Microsoft-GSL/include/gsl/"
    "pointers: 83 `ptr_ != nullptr`";

const std::array kKnownLines{
    KnownLine{std::regex("E" + kDeath + "ignoring\\."), "ignored", 0,
              [](const Suppression& suppression) { return !suppression.ofObjects.has_value(); }},
    KnownLine{std::regex("E" + kDeath + "Exiting\\."), "Exiting", SIGUSR2,
              [](const Suppression& suppression) { return suppression.ofObjects == true; }},
    KnownLine{std::regex("F" + kDeath + "Aborting\\."), "Aborting", SIGABRT,
              [](const Suppression& suppression) { return suppression.ofObjects == false; }},
    KnownLine{std::regex("E" + kHidlError), "HIDL error", SIGUSR2,
              [](const Suppression& suppression) { return suppression.now == true; }},
    KnownLine{std::regex("F" + kHidlError), "HIDL error", SIGABRT,
              [](const Suppression& suppression) { return suppression.now != true; }},
    // Calls of the pose output are only checked by the return object itself.
    KnownLine{std::regex("F/HidlStatus: Failed HIDL (call|return status not checked): " + kStatus),
              "unchecked status", SIGABRT, always},
    // The constructor of a controller provider requires a service.
    KnownLine{std::regex("F" + kLibrary + kNullService), "null service", SIGABRT, always},
    KnownLine{
        std::regex("terminate called without an active exception|" + kLibrary.substr(1) +
                   kNullService + "|E" + kDeath + "invoking custom coronaries\\.|E" + kLibrary +
                   "(MotionSensorProvider death callback|IFlickerSensor HAL service not running)"),
        "", 0, always},
};

const std::regex kSuppressing{
    "I" + kLibrary + "Supressing HIDL transport crash dumps for current process: (true|false)"};

}  // namespace

Verdict judge(const ClientPlan& plan, const Fate& fate, int end, const std::string& errors) {
    Verdict verdict;
    Suppression suppression;
    suppression.ofObjects = plan.suppressesThemLater ? std::nullopt : plan.suppressesDumps;
    std::vector<int> endings;
    std::istringstream lines{errors};
    for (std::string line; std::getline(lines, line);) {
        std::smatch match;
        if (line == kPhase + std::string(kNoService)) {
            verdict.outcome = kNoService;
        } else if (line.rfind(kPhase, 0) == 0) {
            verdict.phase =
                verdict.outcome.empty() ? line.substr(sizeof(kPhase) - 1) : verdict.phase;
        } else if (std::regex_match(line, match, kSuppressing)) {
            suppression.now = match[1] == "true";
        } else {
            const auto known = std::find_if(kKnownLines.begin(), kKnownLines.end(),
                                            [&](const KnownLine& candidate) {
                                                return std::regex_match(line, candidate.pattern);
                                            });
            if (!fate.isOrphaned || known == kKnownLines.end() ||
                !known->isPrescribed(suppression) ||
                (!known->outcome.empty() && known->outcome == verdict.outcome)) {
                verdict.problem = fmt::format("it should not say \"{}\"", line);
                return verdict;
            }
            verdict.outcome = known->outcome.empty() ? verdict.outcome : known->outcome;
            if (known->signal != 0) {
                endings.push_back(-known->signal);
            }
        }
    }
    if (fate.killedBy != 0) {
        verdict.outcome = "killed";
        endings.push_back(-fate.killedBy);
    } else if (endings.empty() && (!fate.isOrphaned || !verdict.outcome.empty())) {
        endings.push_back(0);
    }
    if (std::find(endings.begin(), endings.end(), end) == endings.end()) {
        verdict.problem = fmt::format("it should not end with {} after what it said", end);
    }
    return verdict;
}

}  // namespace Soak
