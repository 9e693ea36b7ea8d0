// Parses and checks expectations.
#include "expectation.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <optional>

#include "failure.h"
#include "names.h"
#include "stream_kinds.h"

namespace {

using Value = std::optional<double>;

const std::map<std::string, bool (*)(double, double)> kRelations{
    {"<", [](double a, double b) { return a < b; }},
    {"<=", [](double a, double b) { return a <= b; }},
    {"=", [](double a, double b) { return a == b; }},
    {">=", [](double a, double b) { return a >= b; }},
    {">", [](double a, double b) { return a > b; }},
};

/// Units of time, in seconds. Other quantities have a single unit.
const std::map<std::string, double> kTimeUnits{{"ns", 1e-9}, {"us", 1e-6}, {"ms", 1e-3}, {"s", 1}};

Failure malformed(const std::string& text, const std::string& reason) {
    return {ExitCode::USAGE, fmt::format("--expect: '{}' {}", text, reason)};
}

/// Parses a limit such as "5ms" and converts it to the quantity's unit.
double limitOf(const std::string& words, const Quantity& quantity, const std::string& text) {
    const size_t numberEnd = std::min(words.find_first_not_of("+-.0123456789e"), words.size());
    const std::string unit = words.substr(numberEnd);
    double number = 0;
    if (!CLI::detail::lexical_cast(words.substr(0, numberEnd), number) || !std::isfinite(number)) {
        throw malformed(text, "has no number");
    }
    const auto own = kTimeUnits.find(quantity.unit);
    if (own == kTimeUnits.end()) {
        if (!unit.empty() && unit != quantity.unit) {
            throw malformed(text,
                            fmt::format("is not in {}",
                                        *quantity.unit == '\0' ? "plain numbers" : quantity.unit));
        }
        return number;
    }
    const auto given = kTimeUnits.find(unit);
    if (given == kTimeUnits.end()) {
        throw malformed(text, "wants a time in ns, us, ms or s");
    }
    return number * given->second / own->second;
}

Expectation parseOne(const std::string& stream, const std::string& text) {
    const size_t nameEnd = text.find_first_of("<=>");
    if (nameEnd == std::string::npos) {
        throw malformed(text, "has none of <, <=, =, >= and >");
    }
    const size_t relationEnd = std::min(text.find_first_not_of("<=>", nameEnd), text.size());
    const std::string relation = text.substr(nameEnd, relationEnd - nameEnd);
    if (kRelations.count(relation) == 0) {
        throw malformed(text, "has none of <, <=, =, >= and >");
    }
    std::vector<std::string> names;
    for (const Quantity& quantity : quantities()) {
        names.emplace_back(quantity.name);
    }
    const size_t place =
        chooseName(names, text.substr(0, nameEnd), fmt::format("--expect {}: quantity", stream));
    const Quantity& quantity = quantities()[place];
    return {stream, &quantity, relation, limitOf(text.substr(relationEnd), quantity, text), text};
}

/// Checks an expectation. A quantity that could not be measured does not meet it.
Verdict judgeOne(const Expectation& expectation, const SensorStream& stream, uint64_t source,
                 const SourceStatistics& statistics, RateMeter::Time now) {
    const Quantity& quantity = *expectation.quantity;
    const Value actual = quantity.valueOf(statistics.total(), now);
    return {
        stream.name(), source == 0 ? "" : sourceName(source), expectation.text,
        actual ? fmt::format("{:.{}f}{}", *actual, quantity.decimals, quantity.unit) : "unknown",
        actual && kRelations.at(expectation.relation)(*actual, expectation.limit)};
}

}  // namespace

std::vector<Expectation> parseExpectations(const std::string& text) {
    const size_t colon = text.find(':');
    if (colon == std::string::npos) {
        throw malformed(text, "is not of the form STREAM:LIMIT,...");
    }
    const std::vector<std::string> names = streamNames();
    const std::string stream = names[chooseName(names, text.substr(0, colon), "--expect: stream")];
    std::vector<Expectation> expectations;
    for (const std::string& limit : CLI::detail::split(text.substr(colon + 1), ',')) {
        expectations.push_back(parseOne(stream, limit));
    }
    return expectations;
}

std::vector<Verdict> judge(const std::vector<Expectation>& expectations,
                           const SensorStreams& streams, RateMeter::Time now) {
    std::vector<Verdict> verdicts;
    for (const Expectation& expectation : expectations) {
        for (const auto& stream : streams) {
            if (stream->kind() != expectation.stream) {
                continue;
            }
            const auto& sources = stream->statistics().sources();
            if (sources.empty()) {
                verdicts.push_back(judgeOne(expectation, *stream, 0, {}, now));
            }
            for (const auto& [source, statistics] : sources) {
                verdicts.push_back(judgeOne(expectation, *stream, source, statistics, now));
            }
        }
    }
    return verdicts;
}
