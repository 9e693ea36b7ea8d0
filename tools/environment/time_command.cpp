// sensorctl time
#include <fmt/format.h>
#include <vek/sensors/factories.h>

#include <CLI/CLI.hpp>
#include <cstdint>
#include <ctime>
#include <memory>
#include <optional>
#include <string>

#include "commands.h"
#include "environment/environment_names.h"
#include "failure.h"
#include "output.h"

using namespace Vek::Sensors;

namespace {

constexpr char kNow[] = "now";

struct TranslationOptions {
    std::string time;
    std::string from;
    std::string to;
};

/// Reads a clock of this machine. Other clocks are not supported.
int64_t readClock(const std::string& name) {
    const TimeDomain domain = Recording::findNamed(kTimeDomains, name).value();
    if (domain != TimeDomain::MONOTONIC && domain != TimeDomain::BOOTTIME) {
        throw Failure(
            ExitCode::USAGE,
            fmt::format("'{}' is for the clocks monotonic and boottime, not for {}", kNow, name));
    }
    timespec now{};
    clock_gettime(domain == TimeDomain::MONOTONIC ? CLOCK_MONOTONIC : CLOCK_BOOTTIME, &now);
    return now.tv_sec * 1'000'000'000 + now.tv_nsec;
}

std::optional<int64_t> toTime(const std::string& text) {
    int64_t time = 0;
    const bool isTime = CLI::detail::lexical_cast(text, time);
    return isTime ? std::optional(time) : std::nullopt;
}

void translateTime(const TranslationOptions& options) {
    const Shutdown shutdown(kNoGrace);
    const int64_t time =
        options.time == kNow ? readClock(options.from) : toTime(options.time).value();
    const int64_t translated =
        requireService(createTambStream(), "ITambril")
            ->getTimeTranslation(time, Recording::findNamed(kTimeDomains, options.from).value(),
                                 Recording::findNamed(kTimeDomains, options.to).value());
    Output::print(fmt::format("{} {} = {} {}", options.from, time, options.to, translated),
                  {{"from", options.from},
                   {"time_ns", time},
                   {"to", options.to},
                   {"translated_ns", translated}});
}

}  // namespace

void addTimeCommand(CLI::App& app) {
    const auto options = std::make_shared<TranslationOptions>();
    CLI::App& time = *app.add_subcommand("time", "Compare the clocks of the system");
    time.require_subcommand(1);
    CLI::App& command = *time.add_subcommand(
        "translate", "Print what another clock shows at the moment when one shows TIME, in ns");
    command.add_option("TIME", options->time, "In ns, or 'now'; after -- if it is negative")
        ->required()
        ->check([](const std::string& text) {
            return text == kNow || toTime(text)
                       ? std::string()
                       : fmt::format("'{}' is neither a number of ns nor '{}'", text, kNow);
        });
    const auto addClock = [&command](const char* option, std::string& clock, const char* what) {
        command.add_option(option, clock, what)
            ->type_name("CLOCK")
            ->required()
            ->check(CLI::IsMember(Recording::namesOf(kTimeDomains)));
    };
    addClock("--from", options->from, "The clock that shows TIME");
    addClock("--to", options->to, "The other clock");
    command.callback([options] { translateTime(*options); });
}
