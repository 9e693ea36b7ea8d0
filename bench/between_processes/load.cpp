// Everything at once: what clients with all the streams that they can have and the service need.
#include <fmt/format.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "between_processes/benchmarks.h"
#include "between_processes/load_client.h"
#include "between_processes/peer.h"

namespace Bench {
namespace {

struct Load {
    /// In sum.
    LoadSeen clients;
    /// How many processors the service kept busy.
    double serviceCpu;
    Resources service;
    /// Records that the service dropped because a queue was full.
    double dropped;
    /// Samples that the service missed because it ran late.
    double missed;
};

/// What the simulator says at its end.
std::string summaryOf(Peer& service, const std::string& file) {
    service.terminate();
    const bool hasEnded = service.awaitEnd();
    std::ifstream stream{file};
    std::string summary{std::istreambuf_iterator<char>{stream}, {}};
    if (!hasEnded || summary.find(" dropped") == std::string::npos) {
        fmt::print(stderr, "error: the simulator does not say what it has dropped\n");
        std::exit(1);
    }
    return summary;
}

/// The sum of the numbers that stand before such words.
double sumOf(const std::string& summary, const std::string& words) {
    const std::regex pattern{"(\\d+) " + words};
    double sum = 0;
    for (std::sregex_iterator match{summary.begin(), summary.end(), pattern}, end; match != end;
         ++match) {
        sum += std::stod((*match)[1]);
    }
    return sum;
}

Load runClients(uint32_t count, std::chrono::seconds duration, LoadKind kind) {
    fmt::print(stderr, "  {} clients for {} s\n", count, duration.count());
    const std::string summaryFile = std::string(getenv("MORIAK_HIDL_RUNTIME_DIR")) + "/summary";
    auto arguments = simulator();
    arguments.insert(arguments.end(), {"--summary", summaryFile});
    Peer service{arguments};
    service.awaitReady();
    std::deque<Peer> clients;
    while (clients.size() < count) {
        clients.emplace_back(inRole("load-client"));
        clients.back().channel().send(kind);
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
        const auto seen = client.channel().receive<LoadSeen>();
        load.clients.streams += seen.streams;
        load.clients.seconds += seen.seconds;
        load.clients.cpuSeconds += seen.cpuSeconds;
        load.clients.records += seen.records;
        load.clients.waits += seen.waits;
        client.awaitEnd();
    }
    const std::string summary = summaryOf(service, summaryFile);
    load.dropped = sumOf(summary, "dropped");
    load.missed = sumOf(summary, "(samples )?were not taken");
    return load;
}

void addLoadRow(uint32_t count, const Load& load) {
    const double meanSeconds = load.clients.seconds / count;
    const double recordRate = load.clients.records / meanSeconds;
    fmt::print(
        "| {} | {} | {:.0f} | {} | {} | {:.0f} | {:.4f} | {:.4f} | {:.2f} | {:.2f} | {} | {} |\n",
        count, load.clients.streams, recordRate, load.dropped, load.missed,
        load.clients.waits / meanSeconds, load.clients.cpuSeconds / load.clients.seconds,
        load.serviceCpu, load.serviceCpu * 1e6 / recordRate, load.service.mebibytes,
        load.service.descriptors, load.service.threads);
    std::fflush(stdout);
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
        return fmt::format("{:.4f} {} ({:.1f} %)", xy / xx, unit,
                           yy == 0 ? 100 : 100 * xy * xy / (xx * yy));
    }

  private:
    struct Point {
        double x = 0, y = 0;
    };
    std::vector<Point> points_;
    Point mean_;
};

void measureGrowth(const char* title, LoadKind kind, std::initializer_list<uint32_t> counts,
                   const Settings& settings) {
    fmt::print(
        "\n### {}\n\n"
        "| clients | streams | records a second | dropped (goal: 0) | not sampled | waits a second "
        "| "
        "processors: a client | the service | its us for a record | its MiB | its descriptors | "
        "its threads |\n"
        "|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|\n",
        title);
    Growth cpu, memory, descriptors, threads;
    for (const uint32_t count : counts) {
        const bool isLong = kind == LoadKind::kHeadset && count == 1;
        const std::chrono::seconds duration{settings.choose(isLong ? 60 : 15, 1)};
        const Load load = runClients(count, duration, kind);
        addLoadRow(count, load);
        cpu.add(count, load.serviceCpu);
        memory.add(count, load.service.mebibytes);
        descriptors.add(count, load.service.descriptors);
        threads.add(count, load.service.threads);
    }
    fmt::print(
        "\nWith each client the service needs {}, {}, {} and {} more; in brackets, how much of "
        "the differences a straight line explains.\n",
        cpu.text("processors"), memory.text("MiB"), descriptors.text("descriptors"),
        threads.text("threads"));
}

void measureWaysToWait(const Settings& settings) {
    static constexpr struct {
        const char* name;
        LoadKind kind;
    } kWays[] = {
        {"wait(), each sample signalled", LoadKind::kHeadset},
        {"wait(), batches of 10 motion samples", LoadKind::kBatched},
        {"waitFor(0) every 5 ms", LoadKind::kPeriodic},
    };
    fmt::print(
        "\n### Ways to wait: one client of all areas\n\n"
        "| way | wake-ups a second | records a second | dropped (goal: 0) | processors: the client "
        "| the service |\n|---|---:|---:|---:|---:|---:|\n");
    for (const auto& [name, kind] : kWays) {
        const Load load = runClients(1, std::chrono::seconds{settings.choose(30, 1)}, kind);
        fmt::print("| {} | {:.0f} | {:.0f} | {} | {:.4f} | {:.4f} |\n", name,
                   load.clients.waits / load.clients.seconds,
                   load.clients.records / load.clients.seconds, load.dropped,
                   load.clients.cpuSeconds / load.clients.seconds, load.serviceCpu);
        std::fflush(stdout);
    }
}

}  // namespace

void measureLoad(const Settings& settings) {
    measureWaysToWait(settings);
    // The simulator has images for 8 clients.
    measureGrowth("Everything at once: clients of all areas at their own rates", LoadKind::kHeadset,
                  {1, 4, 8}, settings);
    measureGrowth("Many clients, without cameras, of streams up to 100 Hz", LoadKind::kCalm,
                  {1, 10, 50, 100}, settings);
}

}  // namespace Bench
