#include "fault.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <exception>
#include <utility>

#include "calls.h"
#include "recording/enum_names.h"

namespace Simulator {
namespace {

enum class Value { NONE, RESULT, TIME, NUMBER, SHARE };

struct KindRow {
    FaultKind kind;
    const char* name;
    FaultTarget target;
    Value value;
    const char* effect;
};

constexpr KindRow kKinds[] = {
    {FaultKind::REFUSE, "refuse", FaultTarget::CALL, Value::RESULT,
     "answers with an error and does nothing; a getter with its data, if it has a result"},
    {FaultKind::LATE, "late", FaultTarget::CALL, Value::TIME, "is served that much later"},
    {FaultKind::HANG, "hang", FaultTarget::CALL, Value::NONE,
     "is not served before the fault is cleared"},
    {FaultKind::STOP, "stop", FaultTarget::STREAM, Value::NONE, "carries nothing any more"},
    {FaultKind::DROP, "drop", FaultTarget::STREAM, Value::SHARE,
     "loses that share of its records, 0 to 1; the next one says so if it can"},
    {FaultKind::DELAY, "delay", FaultTarget::STREAM, Value::TIME,
     "carries its records that much later, 10 s at most"},
    {FaultKind::STICK, "stick", FaultTarget::SAMPLES, Value::NONE, "repeats one record"},
    {FaultKind::NOT_A_NUMBER, "nan", FaultTarget::SAMPLES, Value::NONE,
     "has NaN in place of all fractions"},
    {FaultKind::CLIP, "clip", FaultTarget::SAMPLES, Value::NUMBER,
     "has no reading beyond that; a motion sensor's records say so"},
    {FaultKind::JUMP, "jump", FaultTarget::SAMPLES, Value::TIME, "has timestamps that much later"},
    {FaultKind::WRAP, "wrap", FaultTarget::SAMPLES, Value::NONE,
     "has sequence numbers and controller clocks that begin anew after a hundred records"},
    {FaultKind::CORRUPT, "corrupt", FaultTarget::SAMPLES, Value::NONE,
     "has impossible counters in its queue, for good"},
    {FaultKind::NOT_RECEIVED, "not-received", FaultTarget::FRAME_SETS, Value::NONE,
     "has no images: none came in time"},
    {FaultKind::INVALID, "invalid", FaultTarget::FRAME_SETS, Value::NONE,
     "has no images: all came damaged"},
    {FaultKind::REUSE, "reuse", FaultTarget::FRAME_SETS, Value::NONE,
     "is drawn into the buffers of the last frame set, which a client may still hold"},
    {FaultKind::DISCONNECT, "disconnect", FaultTarget::CONTROLLER, Value::NONE, "is not connected"},
    {FaultKind::SLEEP, "sleep", FaultTarget::CONTROLLER, Value::NONE, "sleeps"},
    {FaultKind::FLAT, "flat", FaultTarget::CONTROLLER, Value::NONE, "has a flat battery"},
    {FaultKind::OUT_OF_REACH, "out-of-reach", FaultTarget::CONTROLLER, Value::NONE,
     "is connected, but none of its samples arrive"},
};

const KindRow& rowOf(FaultKind kind) {
    return *std::find_if(std::begin(kKinds), std::end(kKinds),
                         [kind](const KindRow& row) { return row.kind == kind; });
}

constexpr Hidl::Result kErrors[] = {Hidl::Result::FAILURE, Hidl::Result::BAD_STATE,
                                    Hidl::Result::IGNORED};

constexpr Recording::Named<FaultTarget> kTargets[] = {{FaultTarget::CALL, "CALL"},
                                                      {FaultTarget::STREAM, "STREAM"},
                                                      {FaultTarget::SAMPLES, "STREAM"},
                                                      {FaultTarget::FRAME_SETS, "CAMERAS"},
                                                      {FaultTarget::CONTROLLER, "CONTROLLER"}};
constexpr Recording::Named<Value> kValues[] = {{Value::NONE, ""},
                                               {Value::RESULT, "RESULT"},
                                               {Value::TIME, "TIME"},
                                               {Value::NUMBER, "NUMBER"},
                                               {Value::SHARE, "SHARE"}};

/// @return empty unless the whole text is a finite number
std::optional<double> parseNumber(const std::string& text) {
    try {
        size_t end = 0;
        const double number = std::stod(text, &end);
        return end == text.size() && std::isfinite(number) ? std::optional(number) : std::nullopt;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

bool parseValue(Value value, const std::string& text, Fault* fault) {
    if (value == Value::RESULT) {
        const auto* const error =
            std::find_if(std::begin(kErrors), std::end(kErrors),
                         [&](Hidl::Result candidate) { return toString(candidate) == text; });
        fault->result = error == std::end(kErrors) ? Hidl::Result::SUCCESS : *error;
        return error != std::end(kErrors);
    }
    if (value == Value::TIME) {
        const auto time = parseTime(text);
        fault->time = time.value_or(std::chrono::nanoseconds::zero());
        return time.has_value();
    }
    const std::optional<double> number = parseNumber(text);
    fault->number = number.value_or(0);
    return number && *number >= 0 && (value != Value::SHARE || *number <= 1);
}

bool parseOption(const std::string& word, Fault* fault) {
    if (word == "once") {
        fault->isOnce = true;
        return true;
    }
    const size_t equals = word.find('=');
    const std::string name = word.substr(0, equals);
    const auto number = parseNumber(equals == std::string::npos ? "" : word.substr(equals + 1));
    constexpr double kMostOf32Bits = 2'147'483'647;
    const bool isCount =
        number && *number >= 1 && *number <= kMostOf32Bits && *number == std::floor(*number);
    if (name == "client" && isCount) {
        fault->process = static_cast<int>(*number);
        return true;
    }
    if (name == "nth" && isCount) {
        fault->nth = static_cast<uint64_t>(*number);
        return true;
    }
    if (name == "probability" && number && *number > 0 && *number <= 1) {
        fault->probability = *number;
        return true;
    }
    return false;
}

std::string textOf(std::chrono::nanoseconds time) {
    constexpr std::pair<int64_t, const char*> kUnits[] = {
        {1'000'000'000, "s"}, {1'000'000, "ms"}, {1'000, "us"}};
    for (const auto& [nanoseconds, unit] : kUnits) {
        if (time.count() % nanoseconds == 0) {
            return fmt::format("{}{}", time.count() / nanoseconds, unit);
        }
    }
    return fmt::format("{}ns", time.count());
}

bool canFail(const std::string& call, FaultKind kind) {
    const auto found = std::find_if(allCalls().begin(), allCalls().end(),
                                    [&](const Call& candidate) { return call == candidate.name; });
    return found != allCalls().end() &&
           (kind != FaultKind::REFUSE || found->kind != CallKind::INFALLIBLE);
}

}  // namespace

std::string targetName(const std::string& name) {
    std::string target = name;
    if (target.find('.') == std::string::npos) {
        std::transform(target.begin(), target.end(), target.begin(), [](unsigned char letter) {
            return letter == ' ' ? '-' : static_cast<char>(std::tolower(letter));
        });
    }
    return target;
}

std::optional<std::chrono::nanoseconds> parseTime(const std::string& text) {
    constexpr std::pair<const char*, double> kUnits[] = {
        {"ns", 1}, {"us", 1e3}, {"ms", 1e6}, {"s", 1e9}};
    constexpr double kHour = 3.6e12;
    const size_t end = text.find_last_of("0123456789.") + 1;
    for (const auto& [unit, nanoseconds] : kUnits) {
        if (text.substr(end) == unit) {
            const double time = parseNumber(text.substr(0, end)).value_or(-1) * nanoseconds;
            return time >= 0 && time <= kHour
                       ? std::optional(std::chrono::nanoseconds(std::llround(time)))
                       : std::nullopt;
        }
    }
    return std::nullopt;
}

std::optional<Fault> parseFault(const std::vector<std::string>& words, std::string* error) {
    if (words.size() < 2) {
        *error = "a fault is: KIND TARGET [VALUE] [client=PROCESS] [nth=N] [once] [probability=P]";
        return std::nullopt;
    }
    const auto* const row = std::find_if(std::begin(kKinds), std::end(kKinds),
                                         [&](const KindRow& r) { return r.name == words[0]; });
    if (row == std::end(kKinds)) {
        *error = fmt::format("there is no kind of fault '{}'; those there are: ", words[0]);
        for (const KindRow& known : kKinds) {
            *error += (&known == std::begin(kKinds) ? "" : ", ") + std::string(known.name);
        }
        return std::nullopt;
    }
    Fault fault;
    fault.kind = row->kind;
    fault.target = targetName(words[1]);
    if (row->target == FaultTarget::CALL && !canFail(fault.target, fault.kind)) {
        *error = fmt::format("'{}' is no call that can have the fault '{}'", words[1], row->name);
        return std::nullopt;
    }
    const size_t options = row->value == Value::NONE ? 2 : 3;
    if (row->value != Value::NONE &&
        (words.size() < 3 || !parseValue(row->value, words[2], &fault))) {
        *error = fmt::format("'{}' of '{}' is no {}", words.size() < 3 ? "" : words[2], row->name,
                             Recording::nameIn(kValues, row->value));
        return std::nullopt;
    }
    for (size_t i = options; i < words.size(); ++i) {
        if (!parseOption(words[i], &fault)) {
            *error =
                fmt::format("'{}' is none of client=PROCESS, nth=N, once, probability=P", words[i]);
            return std::nullopt;
        }
    }
    return fault;
}

std::string toText(const Fault& fault) {
    const KindRow& row = rowOf(fault.kind);
    std::string text = fmt::format("{} {}", row.name, fault.target);
    switch (row.value) {
        case Value::NONE:
            break;
        case Value::RESULT:
            text += " " + toString(fault.result);
            break;
        case Value::TIME:
            text += " " + textOf(fault.time);
            break;
        case Value::NUMBER:
        case Value::SHARE:
            text += fmt::format(" {}", fault.number);
            break;
    }
    text += fault.process ? fmt::format(" client={}", *fault.process) : "";
    text += fault.nth > 0 ? fmt::format(" nth={}", fault.nth) : "";
    text += fault.isOnce ? " once" : "";
    text += fault.probability < 1 ? fmt::format(" probability={}", fault.probability) : "";
    return text;
}

std::vector<std::string> describeFaultKinds() {
    std::vector<std::string> lines;
    for (const KindRow& row : kKinds) {
        lines.push_back(
            fmt::format("{:<34} {}",
                        fmt::format("{} {} {}", row.name, Recording::nameIn(kTargets, row.target),
                                    Recording::nameIn(kValues, row.value)),
                        row.effect));
    }
    return lines;
}

FaultTarget targetOf(FaultKind kind) {
    return rowOf(kind).target;
}

}  // namespace Simulator
