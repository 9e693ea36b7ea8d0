// One 64-byte record from the service's write to the client's function, against a bare ring.
#include <fmt/format.h>
#include <vek/sensors/factories.h>

#include <functional>

#include "between_processes/benchmarks.h"
#include "between_processes/imu_service.h"

namespace Bench {
namespace {

using Vek::Sensors::ImuData;

/// Of the stream or of the ring.
struct Way {
    Order::What order;
    /// Waits until there are records, and takes note of how long each was on its way.
    std::function<void(std::vector<double>& microseconds)> receive;
    Rounds latencies{};
    /// Of both processes for each record, in us.
    std::vector<double> cpuTimes{};
};

double ageOf(int64_t timestamp) {
    return microsecondsSince(
        std::chrono::steady_clock::time_point{std::chrono::nanoseconds{timestamp}});
}

void runRound(const Channel& service, uint32_t rate, uint32_t records, Way& way) {
    std::vector<double> latencies;
    latencies.reserve(records);
    const double before = ownCpuTime();
    service.send(Order{way.order, records, rate});
    while (latencies.size() < records) {
        way.receive(latencies);
    }
    const double client = ownCpuTime() - before;
    way.latencies.add(latencies);
    way.cpuTimes.push_back((client + service.receive<double>()) / records / 1000);
}

void measure(const Channel& service, uint32_t rate, uint32_t records, uint32_t roundCount,
             const std::string& how) {
    const auto imu = Vek::Sensors::createImuSensor();
    const auto composite = Vek::Sensors::createStreamCompositor()->createCompositeStream("imu");
    std::vector<double>* received = nullptr;
    imu->stream().setCallbackv([&received](gsl::span<const gsl::span<const ImuData>> spans) {
        for (const auto& span : spans) {
            for (const ImuData& sample : span) {
                received->push_back(ageOf(sample.timestamp));
            }
        }
    });
    imu->stream().addTo(*composite);
    Way stream{Order::What::kQueue, [&](std::vector<double>& latencies) {
                   received = &latencies;
                   composite->wait();
               }};
    Way bare{Order::What::kRing, [&ring = sharedRing()](std::vector<double>& latencies) {
                 ring.read([&latencies](const BareRing::Record& record) {
                     latencies.push_back(ageOf(record.timestamp));
                 });
             }};
    // A round of the one after a round of the other, so that noise meets both.
    for (uint32_t i = 0; i < roundCount; ++i) {
        runRound(service, rate, records, stream);
        runRound(service, rate, records, bare);
    }
    addRow(how + ": p50", "us", stream.latencies.p50(), bare.latencies.p50(), ratioOf(1.1));
    addRow(how + ": p99", "us", stream.latencies.p99(), bare.latencies.p99());
    addRow(how + ": processor time of both sides", "us", median(stream.cpuTimes),
           median(bare.cpuTimes), ratioOf(1.25));
}

}  // namespace

void measureHandOver(const Settings& settings) {
    beginTable("Hand-over of a 64-byte record between two processes", "stream", "bare ring");
    for (const auto& [placement, processor] : kPlacements) {
        const ImuService service{processor};
        measure(service.channel(), 1000, settings.choose(500, 50), settings.choose(9, 1),
                fmt::format("1000 a second, {}", placement));
        measure(service.channel(), 0, settings.choose(10'000, 1000), settings.choose(31, 1),
                fmt::format("back to back, {}", placement));
    }
}

}  // namespace Bench
