// Deaths at random.
#include <fmt/format.h>
#include <sys/wait.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <thread>
#include <utility>

#include "running_client.h"
#include "soak.h"
#include "support/child_process.h"
#include "support/runtime_directory.h"
#include "support/simulator.h"

namespace Soak {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using TestSupport::ChildProcess;
using TestSupport::ProcessResources;
using TestSupport::Simulator;

struct Round {
    bool serviceDies;
    int signal;
    std::vector<ClientPlan> clients;
    /// Whether the moment of death is counted from the first data on, or from the clients' start.
    bool isAfterFirstData;
    /// The moment of death as a fraction of that time, 0 to 1.
    double moment;
};

Round draw(uint32_t seed, uint32_t number) {
    // Several rounds of one kind in a row: a service lives through many deaths of clients.
    constexpr uint32_t kRoundsOfOneKind = 10;
    std::seed_seq kind{seed, number / kRoundsOfOneKind};
    std::seed_seq rest{seed, number, 0U};
    std::mt19937 generator{rest};
    const auto pick = [&generator](size_t count) {
        return std::uniform_int_distribution<size_t>(0, count - 1)(generator);
    };
    Round round{};
    round.serviceDies = std::mt19937(kind)() % 2 == 0;
    constexpr int kClientSignals[] = {SIGKILL, SIGKILL, SIGKILL, SIGABRT};
    constexpr int kServiceSignals[] = {SIGKILL, SIGKILL, SIGTERM, SIGABRT};
    round.signal = (round.serviceDies ? kServiceSignals : kClientSignals)[pick(4)];
    round.isAfterFirstData = pick(2) == 0;
    round.moment = std::uniform_real_distribution<>(0, 1)(generator);
    // Beside the witness there is room for one of each but the first.
    std::vector<std::string> areas{"motion", "motion", "cameras", "controllers", "environment"};
    std::shuffle(areas.begin(), areas.end(), generator);
    for (size_t i = 0, count = 1 + pick(3); i < count; ++i) {
        ClientPlan plan;
        plan.areas = areas[i];
        plan.rpcClient = "tracking";
        constexpr std::optional<bool> kReactions[] = {std::nullopt, true, false};
        plan.suppressesDumps = kReactions[pick(3)];
        plan.isBusy = pick(2) == 0;
        plan.suppressesThemLater = !plan.isBusy && pick(2) == 0;
        plan.seed = static_cast<uint32_t>(generator());
        round.clients.push_back(plan);
    }
    return round;
}

class Campaign {
  public:
    void play(const Round& round) {
        if (service_ == nullptr) {
            startService();
        }
        std::vector<std::unique_ptr<RunningClient>> clients;
        Clock::time_point begin = Clock::now();
        // The clients share the processors while they start.
        Clock::duration window = timeToFirstData_ * round.clients.size();
        for (const ClientPlan& plan : round.clients) {
            clients.push_back(std::make_unique<RunningClient>(plan, newFile()));
        }
        if (round.isAfterFirstData) {
            expectNotice(*clients.front(), kStreaming);
            begin = Clock::now();
            window = 30ms;
        }
        // This sleep does not wait for an event: the moment itself is what the trial varies.
        std::this_thread::sleep_until(
            begin + std::chrono::duration_cast<Clock::duration>(round.moment * window));
        if (round.serviceDies) {
            endService(round.signal);
            for (const auto& client : clients) {
                if (client->awaitNotice(kIgnored)) {
                    client->tell(kServiceChanged);
                }
                count("the service died", client->awaitEnd({true}));
            }
            checkOrphanedWitness();
            return;
        }
        for (const auto& client : clients) {
            const bool isKilled = client == clients.front();
            client->tell(isKilled ? round.signal : kStop);
            count(isKilled ? "a client died" : "another client died, and this one ended",
                  client->awaitEnd({false, isKilled ? round.signal : 0}));
        }
        expectNoMoreThan(mostOfService_, service_->pid(), "the service");
    }

    /// Starts a service if none runs, ends the witness and the service, and checks that nothing is
    /// left.
    void finish() {
        if (service_ == nullptr) {
            startService();
        }
        witness_->tell(kStop);
        witness_->awaitEnd({isWitnessBereft_});
        endService(SIGTERM);
        if (countSockets() != 0 || waitpid(-1, nullptr, WNOHANG) != -1) {
            throw Failure("a socket or a process is left");
        }
    }

    void report() const {
        for (const auto& [event, times] : events_) {
            fmt::print("{:6} {}\n", times, event);
        }
    }

  private:
    std::string newFile() { return fmt::format("{}/errors-{}", directory_.path(), ++files_); }

    void startService() {
        serviceErrors_ = newFile();
        service_ = std::make_unique<Simulator>(
            std::vector<std::string>{"--rpc-notifications", "200"}, serviceErrors_);
        if (countSockets() != 1) {
            throw Failure("there are sockets beside the one of the service");
        }
        const Clock::time_point begin = Clock::now();
        const bool isFirst = witness_ == nullptr;
        if (isFirst) {
            ClientPlan plan;
            plan.areas = "motion,cameras,controllers,environment";
            plan.rpcClient = "CMS";
            plan.outlivesServices = true;
            witness_ = std::make_unique<RunningClient>(plan, newFile());
            expectNotice(*witness_, kIdle);
        }
        witness_->tell(kServiceChanged);
        expectNotice(*witness_, kStreaming);
        timeToFirstData_ = isFirst ? Clock::now() - begin : timeToFirstData_;
        mostOfService_ = TestSupport::resourcesOf(service_->pid());
    }

    void endService(int signal) {
        ChildProcess& process = service_->process();
        process.send(signal);
        const std::optional<int> end = process.waitFor(kBound);
        if (!end) {
            throw Failure("the service hangs:\n" + describeThreads(process.pid()));
        }
        const std::string errors = errorsIn(serviceErrors_);
        if (*end != (signal == SIGTERM ? 0 : -signal) || !errors.empty()) {
            throw Failure(fmt::format("the service ended with {}:\n{}", *end, errors));
        }
        std::filesystem::remove(serviceErrors_);
        service_.reset();
    }

    static void expectNotice(RunningClient& client, const char* notice) {
        if (!client.awaitNotice(notice)) {
            throw Failure(fmt::format("a client is not {}\n{}{}", notice,
                                      describeThreads(client.pid()), client.describe()));
        }
    }

    void checkOrphanedWitness() {
        if (!std::exchange(isWitnessBereft_, true)) {
            expectNotice(*witness_, kIgnored);
        }
        witness_->tell(kServiceChanged);
        expectNotice(*witness_, kIdle);
        // The event flag of a camera's recycle queue stays mapped until the process ends.
        mostOfWitness_.mappings += 1;
        expectNoMoreThan(mostOfWitness_, witness_->pid(), "the witness");
    }

    /// Also lowers the limit to the current value.
    static void expectNoMoreThan(ProcessResources& most, int pid, const char* who) {
        ProcessResources now{};
        const bool isMet = TestSupport::becomesTrue([&] {
            now = TestSupport::resourcesOf(pid);
            return now.descriptors <= most.descriptors && now.mappings <= most.mappings &&
                   now.threads <= most.threads + kPoolThreads;
        });
        if (!isMet) {
            throw Failure(fmt::format(
                "{} holds {} descriptors, {} mappings and {} threads; it held {}, {} and {}", who,
                now.descriptors, now.mappings, now.threads, most.descriptors, most.mappings,
                most.threads));
        }
        most = {now.descriptors, std::min(most.threads, now.threads), now.mappings};
    }

    /// Counts sockets of processes. The simulator's control socket is not counted: it stays after a
    /// kill and the next service replaces it.
    size_t countSockets() const {
        size_t count = 0;
        for (const auto& entry : std::filesystem::directory_iterator(directory_.path())) {
            const bool isForCommands = entry.path().filename() == "simulator-control";
            count += is_socket(entry.symlink_status()) && !isForCommands ? 1 : 0;
        }
        return count;
    }

    void count(const char* what, const Verdict& verdict) {
        ++events_[fmt::format("{} in {}: {}", what,
                              verdict.phase.empty() ? "process start" : verdict.phase,
                              verdict.outcome)];
    }

    const TestSupport::RuntimeDirectory directory_;
    size_t files_ = 0;
    std::unique_ptr<Simulator> service_;
    std::string serviceErrors_;
    ProcessResources mostOfService_{};
    /// A client that outlives all services and streams from each of them.
    std::unique_ptr<RunningClient> witness_;
    bool isWitnessBereft_ = false;
    ProcessResources mostOfWitness_{1000, 1000, 1000};
    /// From the start of a client's process.
    Clock::duration timeToFirstData_{};
    std::map<std::string, uint32_t> events_;
};

}  // namespace

int soakDeaths(const DeathsSettings& settings) {
    const Clock::time_point begin = Clock::now();
    fmt::print("{} rounds with seed {}\n", settings.rounds, settings.seed);
    Campaign campaign;
    uint32_t number = settings.firstRound;
    try {
        for (; number < settings.firstRound + settings.rounds; ++number) {
            campaign.play(draw(settings.seed, number));
            if (number % 100 == 99) {
                fmt::print("{} rounds played\n", number - settings.firstRound + 1);
                std::fflush(stdout);
            }
        }
        campaign.finish();
    } catch (const std::exception& failure) {
        fmt::print(stderr, "round {} with seed {}: {}\n", number, settings.seed, failure.what());
        return 1;
    }
    campaign.report();
    fmt::print("all as it should be, after {:.0f} s\n",
               std::chrono::duration<double>(Clock::now() - begin).count());
    return 0;
}

}  // namespace Soak
