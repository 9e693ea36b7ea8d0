// A control call there and back, against a bare request and reply on a socket of the same kind.
#include <fmt/format.h>
#include <vek/sensors/factories.h>

#include "between_processes/benchmarks.h"
#include "between_processes/imu_service.h"

namespace Bench {
namespace {

/// @return calls a second
template <typename Call>
double runRound(uint32_t calls, Rounds& rounds, Call call) {
    std::vector<double> times;
    times.reserve(calls);
    const auto begin = std::chrono::steady_clock::now();
    for (uint32_t i = 0; i < calls; ++i) {
        const auto before = std::chrono::steady_clock::now();
        call();
        times.push_back(microsecondsSince(before));
    }
    rounds.add(times);
    return calls * 1e6 / microsecondsSince(begin);
}

void measure(const Settings& settings, const char* placement, uint32_t processor) {
    const ImuService service{processor};
    const auto imu = Vek::Sensors::createImuSensor();
    const uint32_t calls = settings.choose(2000, 100);
    Rounds own, bare;
    std::vector<double> ownRates, bareRates;
    for (uint32_t i = 0; i < settings.choose(31, 1); ++i) {
        ownRates.push_back(runRound(calls, own, [&imu] { imu->configureStream({1000, 1}); }));
        service.channel().send(Order{Order::What::kEcho, calls});
        bareRates.push_back(runRound(calls, bare, [&service] {
            service.channel().send(Request{});
            service.channel().receive<Reply>();
        }));
        service.channel().receive<double>();
    }
    addRow(fmt::format("{}: p50", placement), "us", own.p50(), bare.p50(), ratioOf(1.5));
    addRow(fmt::format("{}: p99", placement), "us", own.p99(), bare.p99());
    addRow(fmt::format("{}: calls a second", placement), "", median(ownRates), median(bareRates));
}

}  // namespace

void measureControlCalls(const Settings& settings) {
    beginTable("Control call there and back", "configureStream", "bare socket");
    for (const auto& [placement, processor] : kPlacements) {
        measure(settings, placement, processor);
    }
}

}  // namespace Bench
