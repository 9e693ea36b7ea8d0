// Records between two processes, against bare rings: samples from the service's write to the
// client's function, and frame sets there and back through the recycle queue.
#include <fmt/format.h>
#include <vek/sensors/factories.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "between_processes/benchmarks.h"
#include "between_processes/service.h"

namespace Bench {
namespace {

using namespace Vek::Sensors;

/// A way to hand records over: the library, or a bare ring.
struct Way {
    /// Of a baseline, in the names of its rows.
    std::string suffix;
    Order::What order;
    /// Waits for records, and adds the latency of each if they have time stamps.
    /// @return how many there were
    std::function<size_t(std::vector<double>& microseconds)> receive;
    Rounds times{};
    /// Of both processes for each record, in us.
    std::vector<double> cpuTimes{};
};

double ageOf(int64_t timestamp) {
    return microsecondsSince(
        std::chrono::steady_clock::time_point{std::chrono::nanoseconds{timestamp}});
}

void runRound(const Channel& service, Order order, Way& way) {
    order.what = way.order;
    std::vector<double> ages;
    ages.reserve(order.count);
    const double before = ownCpuTime();
    service.send(order);
    for (size_t received = 0; received < order.count;) {
        received += way.receive(ages);
    }
    const double client = ownCpuTime() - before;
    const auto done = service.receive<Done>();
    if (ages.empty()) {
        way.times.add(done.p50, done.p99);
    } else {
        way.times.add(ages);
    }
    way.cpuTimes.push_back((client + done.cpuTime) / order.count / 1000);
}

struct Goals {
    std::optional<Goal> p50;
    std::optional<Goal> cpuTime;
};

/// @param ways the library's, then the baselines; the goals are for the first of them
void compare(const Channel& service, const Order& order, uint32_t roundCount, std::vector<Way> ways,
             const std::string& how, Goals goals) {
    // Alternates the rounds of all ways, so that noise affects all.
    for (uint32_t i = 0; i < roundCount; ++i) {
        for (Way& way : ways) {
            runRound(service, order, way);
        }
    }
    const Way& own = ways.front();
    for (size_t i = 1; i < ways.size(); ++i) {
        const Way& bare = ways[i];
        const std::string name = how + bare.suffix;
        addRow(name + ": p50", "us", own.times.p50(), bare.times.p50(), goals.p50);
        addRow(name + ": p99", "us", own.times.p99(), bare.times.p99());
        addRow(name + ": processor time of both sides", "us", median(own.cpuTimes),
               median(bare.cpuTimes), goals.cpuTime);
        goals = {};
    }
}

/// A stream of the library.
class Stream {
  public:
    template <typename Data>
    void add(IDataStream<Data>& stream) {
        stream.setCallbackv([this](typename IDataStream<Data>::Batch spans) {
            for (const auto& span : spans) {
                received_ += span.size();
                if constexpr (std::is_same_v<Data, ImuData>) {
                    for (const Data& sample : span) {
                        ages_->push_back(ageOf(sample.timestamp));
                    }
                }
            }
        });
        stream.addTo(*composite_);
    }
    size_t receive(std::vector<double>& ages) {
        ages_ = &ages;
        received_ = 0;
        composite_->wait();
        return received_;
    }

  private:
    const std::unique_ptr<ICompositeStream> composite_ =
        createStreamCompositor()->createCompositeStream("bench");
    std::vector<double>* ages_ = nullptr;
    size_t received_ = 0;
};

void measureSamples(const Channel& service, const Order& order, uint32_t roundCount,
                    const std::string& how) {
    const auto imu = createImuSensor();
    Stream stream;
    stream.add(imu->stream());
    const auto readFrom = [](auto& ring) {
        return [&ring](std::vector<double>& ages) {
            return ring.read(
                [&ages](const auto& record) { ages.push_back(ageOf(record.timestamp)); });
        };
    };
    BareRings& rings = sharedRings();
    std::vector<Way> ways{
        {"", Order::What::kSamples, [&](auto& ages) { return stream.receive(ages); }},
        {"", Order::What::kBareSamples, readFrom(rings.samples)},
        {", against eventfds", Order::What::kEventSamples, readFrom(rings.eventSamples)}};
    compare(service, order, roundCount, std::move(ways), how, {ratioOf(1.1), ratioOf(1.25)});
}

void measureFrameSets(const Channel& service, const Order& order, uint32_t roundCount,
                      const std::string& how) {
    static_assert(sizeof(FrameSet) == sizeof(decltype(BareRings::frameSets)::Record));
    const auto camera = createCameraProvider()->getStream(FrameType::HEADSET, "bench");
    Stream stream;
    stream.add(camera->stream());
    std::vector<Way> ways{
        {"", Order::What::kFrameSets, [&](auto& ages) { return stream.receive(ages); }},
        {"", Order::What::kBareFrameSets, [&rings = sharedRings()](auto& /*ages*/) {
             return rings.frameSets.read(
                 [&rings](const auto& frameSet) { rings.recycledFrameSets.write(frameSet); });
         }}};
    compare(service, order, roundCount, std::move(ways), how, {});
}

}  // namespace

void measureHandOver(const Settings& settings) {
    const Order paced{{}, settings.choose(500, 50), 1000};
    const Order backToBack{{}, settings.choose(10'000, 1000)};
    const uint32_t rounds = settings.choose(31, 1);
    beginTable("Hand-over of a 64-byte record between two processes", "stream", "bare ring");
    for (const auto& [placement, processor] : kPlacements) {
        EventSignals& events = sharedRings().eventSamples.signals;
        events.open();
        const Service service{processor};
        measureSamples(service.channel(), paced, settings.choose(9, 1),
                       fmt::format("1000 a second, {}", placement));
        measureSamples(service.channel(), backToBack, rounds,
                       fmt::format("back to back, {}", placement));
        events.shut();
    }
    beginTable("Frame set there and back between two processes", "camera stream", "two bare rings");
    for (const auto& [placement, processor] : kPlacements) {
        const Service service{processor};
        measureFrameSets(service.channel(), backToBack, rounds, placement);
    }
}

}  // namespace Bench
