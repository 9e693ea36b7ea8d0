// sensorctl leds
#include <fmt/format.h>
#include <vek/sensors/factories.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "commands.h"
#include "environment/environment_names.h"
#include "environment/led_table.h"
#include "failure.h"
#include "output.h"
#include "waiter.h"

using namespace Vek::Sensors;

namespace {

struct LedOptions {
    std::vector<std::string> settings;
    bool overrides = false;
    bool enables = false;
    bool disables = false;
    std::optional<double> holdSeconds;

    bool isAnything() const { return !settings.empty() || overrides || enables || disables; }
};

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> words(1);
    for (const char c : text) {
        if (c == separator) {
            words.emplace_back();
        } else {
            words.back() += c;
        }
    }
    return words;
}

std::optional<uint32_t> toNumber(const std::string& text) {
    uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    return isNumber ? std::optional(number) : std::nullopt;
}

/// Parses "face:0:20000:400"; empty if it does not have that form.
std::optional<FaceEyeTrackingLedConfiguration> toConfiguration(const std::string& setting) {
    const std::vector<std::string> words = split(setting, ':');
    if (words.size() != 4) {
        return std::nullopt;
    }
    const auto group = Recording::findNamed(kLedGroups, words[0]);
    const auto channel = toNumber(words[1]);
    const auto current = toNumber(words[2]);
    const auto pulseWidth = toNumber(words[3]);
    if (!group || !channel || !current || !pulseWidth) {
        return std::nullopt;
    }
    return FaceEyeTrackingLedConfiguration{*group, *channel, *current, *pulseWidth};
}

std::vector<FaceEyeTrackingLedConfiguration> toConfigurations(
    const std::vector<std::string>& settings, IFaceEyeTrackingLed& leds) {
    std::vector<FaceEyeTrackingLedConfiguration> configurations;
    for (const std::string& setting : settings) {
        configurations.push_back(toConfiguration(setting).value());
        const auto& configuration = configurations.back();
        const uint8_t channels = leds.getNumChannels(configuration.group);
        if (configuration.channel >= channels) {
            throw Failure(ExitCode::USAGE,
                          fmt::format("--set {}: the group has {} channels", setting, channels));
        }
    }
    return configurations;
}

void require(bool isDone, const std::string& what) {
    if (!isDone) {
        throw Failure(ExitCode::FAILED, "the service refused to " + what);
    }
}

/// Undoes nothing at the end: the service drops all settings when this process ends.
void changeLeds(IFaceEyeTrackingLed& leds, const LedOptions& options) {
    auto configurations = toConfigurations(options.settings, leds);
    if (options.overrides) {
        require(leds.startOverridingLedSettings(),
                "have the LEDs overridden; another client may be doing so");
    }
    if (!configurations.empty()) {
        require(leds.setConfigs(std::move(configurations)),
                fmt::format("set the LEDs to {}", fmt::join(options.settings, " ")));
    }
    if (options.enables) {
        require(leds.enable(), "switch the LEDs on");
    }
    if (options.disables) {
        require(leds.disable(), "switch the LEDs off");
    }
}

void runLeds(const LedOptions& options) {
    Shutdown shutdown(kShutdownGrace);
    const auto leds = requireService(createFaceEyeTrackingLed(), "IFaceEyeTrackingLed");
    if (!options.isAnything()) {
        Output::print({{"led_groups", ledTable(*leds)}});
        return;
    }
    changeLeds(*leds, options);
    Output::print("done; the service takes it back when this command ends", {{"state", "set"}});
    Waiter(shutdown).until(deadlineAfter(options.holdSeconds));
    shutdown.requireService();
}

}  // namespace

Table ledTable(IFaceEyeTrackingLed& leds) {
    Table table({"LED group", "channels"});
    for (const auto& group : kLedGroups) {
        table.addRow({group.name, leds.getNumChannels(group.value)});
    }
    return table;
}

void addLedsCommand(CLI::App& app) {
    const auto options = std::make_shared<LedOptions>();
    CLI::App& command = *app.add_subcommand(
        "leds",
        "Set, switch and override the illuminators of face and eye tracking; without an option:\n"
        "print which there are. The service takes everything back when the command ends.");
    CLI::Option* const overriding = command.add_flag(
        "--override", options->overrides, "Take the LEDs from the service's own control first");
    command
        .add_option("--set", options->settings,
                    "Set one LED, at so many uA for so many us in each exposure; may be repeated")
        ->type_name("GROUP:CHANNEL:UA:US")
        ->expected(1)
        ->needs(overriding)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->check([](const std::string& setting) {
            return toConfiguration(setting)
                       ? std::string()
                       : fmt::format("'{}' is not GROUP:CHANNEL:UA:US, GROUP one of {}", setting,
                                     fmt::join(Recording::namesOf(kLedGroups), ", "));
        });
    CLI::Option* const enable = command.add_flag("--enable", options->enables, "Switch them on");
    command.add_flag("--disable", options->disables, "Switch them off")->excludes(enable);
    command
        .add_option("--hold", options->holdSeconds,
                    "End after so many seconds; otherwise at Ctrl-C")
        ->type_name("SECONDS")
        ->check(secondsFrom(0));
    command.callback([options] { runLeds(*options); });
}
