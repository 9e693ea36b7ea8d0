// Many clients at once for a long time.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "running_client.h"
#include "soak.h"
#include "streams.h"
#include "support/child_process.h"
#include "support/runtime_directory.h"
#include "support/simulator.h"

namespace Soak {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// Resources of a process: KiB of private memory, descriptors, threads, mappings. Shared memory is
/// left out, because how much of it is in use depends on scheduling; the mappings bound it.
using Sample = std::array<int64_t, 4>;

Sample sampleOf(int pid) {
    int64_t memory = 0;
    std::ifstream rollup{fmt::format("/proc/{}/smaps_rollup", pid)};
    for (std::string line; std::getline(rollup, line);) {
        if (line.rfind("Private_Clean:", 0) == 0 || line.rfind("Private_Dirty:", 0) == 0) {
            memory += std::stoll(line.substr(line.find(':') + 1));
        }
    }
    const TestSupport::ProcessResources resources = TestSupport::resourcesOf(pid);
    return {memory, static_cast<int64_t>(resources.descriptors),
            static_cast<int64_t>(resources.threads), static_cast<int64_t>(resources.mappings)};
}

/// All clients use the motion sensors and some use other areas. Only few use cameras: the service
/// has room for eight, and must draw images.
ClientPlan planOf(uint32_t index, uint32_t motionBatch) {
    ClientPlan plan;
    plan.areas = index % 20 == 1   ? "motion,cameras"
                 : index % 10 == 2 ? "motion,controllers"
                 : index % 10 == 3 ? "motion,environment"
                                   : "motion";
    plan.rpcClient = index == 3 ? "CMS" : index == 13 ? "tracking" : kNobody;
    plan.motionBatch = motionBatch;
    // Gives all clients the time to run before the next frame set, for which there is one place.
    plan.frameRate = 15;
    return plan;
}

class Crowd {
  public:
    explicit Crowd(const ClientsSettings& settings) : service_({"--rpc-notifications", "10"}) {
        for (uint32_t index = 0; index < settings.clients; ++index) {
            clients_.push_back(std::make_unique<RunningClient>(
                planOf(index, settings.motionBatch),
                fmt::format("{}/errors-{}", directory_.path(), index)));
            if (!clients_.back()->awaitNotice(kStreaming)) {
                throw Failure("a client does not stream" + clients_.back()->describe());
            }
        }
    }

    /// The service first, then the clients.
    std::vector<Sample> sample() const {
        std::vector<Sample> samples{sampleOf(service_.pid())};
        for (const auto& client : clients_) {
            samples.push_back(sampleOf(client->pid()));
        }
        return samples;
    }

    /// @return totals of all clients; throws a Failure if one has lost records
    Tally stop() {
        Tally tally;
        for (const auto& client : clients_) {
            client->tell(kStop);
        }
        for (const auto& client : clients_) {
            Tally one;
            std::istringstream{client->awaitNotice(kSaidAll).value_or("")} >>
                one.records.received >> one.records.lost >> one.frameSets.received >>
                one.frameSets.lost;
            tally.records.received += one.records.received;
            tally.frameSets.received += one.frameSets.received;
            tally.frameSets.lost += one.frameSets.lost;
            client->awaitEnd({false});
        }
        return tally;
    }

    std::string finishService() { return service_.finish(); }

  private:
    const TestSupport::RuntimeDirectory directory_;
    TestSupport::Simulator service_;
    std::vector<std::unique_ptr<RunningClient>> clients_;
};

void print(Clock::duration age, const std::vector<Sample>& samples) {
    Sample ofClients{};
    for (size_t i = 1; i < samples.size(); ++i) {
        std::transform(ofClients.begin(), ofClients.end(), samples[i].begin(), ofClients.begin(),
                       std::plus<>());
    }
    fmt::print("| {:6} | {:6} | {:6} |\n",
               std::chrono::duration_cast<std::chrono::seconds>(age).count(),
               fmt::join(samples.front(), " | "), fmt::join(ofClients, " | "));
    std::fflush(stdout);
}

/// @return whether a process holds more than it did, with a line for each
bool hasGrown(const std::vector<Sample>& before, const std::vector<Sample>& after,
              const Sample& margins) {
    bool hasAnyGrown = false;
    for (size_t i = 0; i < before.size(); ++i) {
        for (size_t what = 0; what < margins.size(); ++what) {
            if (after[i][what] > before[i][what] + margins[what]) {
                hasAnyGrown = true;
                fmt::print("process {} has grown from {} to {}\n", i, fmt::join(before[i], ", "),
                           fmt::join(after[i], ", "));
            }
        }
    }
    return hasAnyGrown;
}

}  // namespace

int soakClients(const ClientsSettings& settings) try {
    // A heap takes and gives back up to 132 KiB at once, and a process has one for each of its
    // busier threads. A byte for each record would be 50 MiB in the service after ten minutes, and
    // one KiB each second more than this, too.
    const int64_t ofMemory = settings.ignoresMemory ? INT64_MAX / 2 : 512;
    Crowd crowd{settings};
    fmt::print(
        "| after  | the service holds         |||| the clients hold          ||||\n"
        "| s      | KiB    | desc.  | thr.   | mapp.  | KiB    | desc.  | thr.   | mapp.  |\n"
        "|-------:|-------:|-------:|-------:|-------:|-------:|-------:|-------:|-------:|\n");
    const Clock::time_point begin = Clock::now();
    const auto duration = std::chrono::duration_cast<Clock::duration>(
        std::chrono::duration<double>(60 * settings.minutes));
    std::vector<Sample> first;
    std::vector<Sample> last;
    for (Clock::duration age{}; age < duration;) {
        age = std::min<Clock::duration>(age + 10s, duration);
        std::this_thread::sleep_until(begin + age);
        last = crowd.sample();
        print(age, last);
        if (age <= 60s) {
            first = last;
        }
    }
    const auto& [records, frameSets] = crowd.stop();
    fmt::print("{} records, none lost; {} frame sets, {} lost\n{}", records.received,
               frameSets.received, frameSets.lost, crowd.finishService());
    // On a busy machine a client may miss a frame set now and then.
    constexpr uint64_t kFrameSetsForOneLost = 200;
    const bool areTooManyLost = frameSets.lost * kFrameSetsForOneLost > frameSets.received;
    return hasGrown(first, last, {ofMemory, 0, kPoolThreads, 0}) || areTooManyLost ? 1 : 0;
} catch (const std::exception& failure) {
    fmt::print(stderr, "{}\n", failure.what());
    return 1;
}

}  // namespace Soak
