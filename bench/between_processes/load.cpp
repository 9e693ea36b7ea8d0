// Clients with all streams of the headset at once: what they and the service need.
#include <fmt/format.h>
#include <unistd.h>
#include <vek/sensors/factories.h>

#include <deque>
#include <memory>
#include <optional>
#include <thread>

#include "between_processes/benchmarks.h"
#include "between_processes/peer.h"

namespace Bench {
namespace {

using namespace Vek::Sensors;

/// What clients saw from their start to their stop, in sum.
struct Seen {
    double streams = 0;
    double seconds = 0;
    double cpuSeconds = 0;
    double records = 0;
    double lost = 0;
    double waits = 0;
};

/// How many records were lost before this one.
template <typename Data>
uint32_t countLost(const Data& record, std::optional<uint32_t>& last) {
    const uint32_t lost = last ? record.sequence - *last - 1 : 0;
    last = record.sequence;
    return lost;
}
uint32_t countLost(const IadData& /*record*/, std::optional<uint32_t>& /*last*/) {
    return 0;
}

/// One client: a composite with all streams that there are, up to 15.
class Client {
  public:
    /// Adds the stream of a sensor and starts it.
    template <typename Data, typename Sensor>
    void add(std::unique_ptr<Sensor> sensor) {
        if (sensor == nullptr || seen_.streams == 15) {
            return;
        }
        ++seen_.streams;
        sensor->stream().setQueueSize(256);
        sensor->stream().setCallbackv([this, last = std::optional<uint32_t>()](
                                          gsl::span<const gsl::span<const Data>> spans) mutable {
            for (const auto& span : spans) {
                for (const Data& record : span) {
                    seen_.lost += countLost(record, last);
                    ++seen_.records;
                }
            }
        });
        sensor->stream().addTo(*composite_);
        sensor->start();
        sensors_.push_back(std::move(sensor));
    }

    Seen waitUntilStopped(const Channel& channel) {
        const auto begin = std::chrono::steady_clock::now();
        const double cpuTime = ownCpuTime();
        std::thread stopper{[&] {
            channel.receive<char>();
            composite_->wake();
        }};
        while (composite_->wait() != WaitResult::WOKEN) {
            ++seen_.waits;
        }
        stopper.join();
        seen_.cpuSeconds = (ownCpuTime() - cpuTime) / 1e9;
        seen_.seconds = microsecondsSince(begin) / 1e6;
        return seen_;
    }

  private:
    std::unique_ptr<ICompositeStream> composite_ =
        createStreamCompositor()->createCompositeStream("load");
    std::vector<std::shared_ptr<void>> sensors_;
    Seen seen_;
};

void addMotionStreams(Client& client) {
    const auto provider = createMotionSensorProvider();
    for (const MotionSensorInfo& info : provider->getSensorInfo().sensors) {
        client.add<ImuData>(provider->getImu(info.sensor));
        client.add<MagData>(provider->getMag(info.sensor));
    }
    client.add<IadData>(createIadSensor());
}

struct Load {
    Seen clients;
    /// How many processors the service kept busy.
    double serviceCpu;
    Resources service;
};

Load runClients(uint32_t count, std::chrono::seconds duration) {
    const Peer service{simulator()};
    service.awaitReady();
    std::deque<Peer> clients;
    while (clients.size() < count) {
        clients.emplace_back(inRole("load-client"));
        clients.back().awaitReady();
    }
    const double before = cpuTimeOf(service.pid());
    const auto begin = std::chrono::steady_clock::now();
    std::this_thread::sleep_for(duration);
    Load load{};
    load.serviceCpu = (cpuTimeOf(service.pid()) - before) / 1000 / microsecondsSince(begin);
    load.service = resourcesOf(service.pid());
    for (const Peer& client : clients) {
        client.channel().send('s');
    }
    for (Peer& client : clients) {
        const Seen seen = client.channel().receive<Seen>();
        load.clients.streams += seen.streams;
        load.clients.seconds += seen.seconds;
        load.clients.cpuSeconds += seen.cpuSeconds;
        load.clients.records += seen.records;
        load.clients.lost += seen.lost;
        load.clients.waits += seen.waits;
        client.awaitEnd();
    }
    return load;
}

/// How a figure grows with the number of clients.
class Growth {
  public:
    void add(double clients, double figure) {
        points_.push_back({clients, figure});
        mean_.x += clients;
        mean_.y += figure;
    }

    /// Of the straight line that fits best, and how much it explains of the differences.
    std::string text(const char* unit) const {
        const auto n = static_cast<double>(points_.size());
        double xx = 0, xy = 0, yy = 0;
        for (const Point& point : points_) {
            const double dx = point.x - mean_.x / n;
            const double dy = point.y - mean_.y / n;
            xx += dx * dx;
            xy += dx * dy;
            yy += dy * dy;
        }
        return fmt::format("{:.4f} {} ({:.1f} %)", xy / xx, unit, 100 * xy * xy / (xx * yy));
    }

  private:
    struct Point {
        double x = 0, y = 0;
    };
    std::vector<Point> points_;
    Point mean_;
};

}  // namespace

int runLoadClient() {
    const Channel channel{kChildsChannel};
    Client client;
    addMotionStreams(client);
    channel.send('r');
    channel.send(client.waitUntilStopped(channel));
    return 0;
}

void measureLoad(const Settings& settings) {
    fmt::print(
        "\n### Everything at once\n\n"
        "| clients | streams | records a second | lost | waits a second | processors: a client | "
        "the service | its us for a record | its MiB | its descriptors | its threads |\n"
        "|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|\n");
    Growth cpu, memory, descriptors;
    for (const uint32_t count : {1U, 10U, 50U, 100U}) {
        const Load load = runClients(
            count,
            std::chrono::seconds{count == 1 ? settings.choose(60, 1) : settings.choose(10, 1)});
        const double meanSeconds = load.clients.seconds / count;
        const double recordRate = load.clients.records / meanSeconds;
        fmt::print(
            "| {} | {} | {:.0f} | {} | {:.0f} | {:.4f} | {:.4f} | {:.2f} | {:.2f} | {} | {} |\n",
            count, load.clients.streams, recordRate, load.clients.lost,
            load.clients.waits / meanSeconds, load.clients.cpuSeconds / load.clients.seconds,
            load.serviceCpu, load.serviceCpu * 1e6 / recordRate, load.service.mebibytes,
            load.service.descriptors, load.service.threads);
        std::fflush(stdout);
        cpu.add(count, load.serviceCpu);
        memory.add(count, load.service.mebibytes);
        descriptors.add(count, load.service.descriptors);
    }
    fmt::print(
        "\nWith each client the service needs {}, {} and {} more; in brackets, how much of "
        "the differences a straight line explains.\n",
        cpu.text("processors"), memory.text("MiB"), descriptors.text("descriptors"));
}

}  // namespace Bench
