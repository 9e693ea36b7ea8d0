// Control calls and KivraRpc messages, against bare requests and replies of as many bytes on a
// socket of the same kind.
#include <fmt/format.h>
#include <semaphore.h>
#include <vek/sensors/factories.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "between_processes/benchmarks.h"
#include "between_processes/service.h"

namespace Bench {
namespace {

using namespace Vek::Sensors;

/// Sizes of a call's request and reply on the library's socket, in bytes.
struct Size {
    uint32_t request;
    uint32_t reply;
};
constexpr Size kConfigureStreamSize{136, 72};
// Without the payload. What the service sends brings the release of the call's callback along.
constexpr Size kMessageSize{216, 136};
constexpr uint32_t kAnswerSize = 272;

struct Call {
    std::string name;
    std::function<void()> make;
    /// Of the baseline.
    Size size;
    std::optional<Goal> goal;
};

/// Registered with the service while it lives.
class MessageClient {
  public:
    MessageClient() {
        sem_init(&answers_, 0, 0);
        stream_->registerKivraRpcClient(
            "CMS", [this](const KivraRpcMessage& /*message*/) { sem_post(&answers_); });
    }
    ~MessageClient() { sem_destroy(&answers_); }
    MessageClient(const MessageClient&) = delete;
    MessageClient& operator=(const MessageClient&) = delete;

    void send(std::vector<uint8_t>& payload) { sendTo(0, payload); }
    void sendAndAwaitAnswer(std::vector<uint8_t>& payload) {
        sendTo(kAnsweredProcedure, payload);
        sem_wait(&answers_);
    }

  private:
    void sendTo(uint32_t procedure, std::vector<uint8_t>& payload) {
        if (!stream_->sendKivraRpcMsg(ControllerAddr{1}, procedure, payload)) {
            std::abort();
        }
    }

    const std::unique_ptr<ITambStream> stream_ = createTambStream();
    sem_t answers_{};
};

/// @return calls a second
template <typename MakeCall>
double runRound(uint32_t calls, Rounds& rounds, MakeCall makeCall) {
    std::vector<double> times;
    times.reserve(calls);
    const auto begin = std::chrono::steady_clock::now();
    for (uint32_t i = 0; i < calls; ++i) {
        const auto before = std::chrono::steady_clock::now();
        makeCall();
        times.push_back(microsecondsSince(before));
    }
    rounds.add(times);
    return calls * 1e6 / microsecondsSince(begin);
}

void measure(const Settings& settings, const Channel& service, const char* placement,
             const Call& call) {
    const uint32_t count = settings.choose(1000, 100);
    const std::vector<char> request(call.size.request);
    std::vector<char> reply(call.size.reply);
    Rounds own, bare;
    std::vector<double> ownRates, bareRates;
    for (uint32_t i = 0; i < settings.choose(31, 1); ++i) {
        ownRates.push_back(runRound(count, own, call.make));
        service.send(Order{Order::What::kEcho, count, 0, call.size.request, call.size.reply});
        bareRates.push_back(runRound(count, bare, [&] {
            service.sendBytes(request.data(), request.size());
            service.receiveBytes(reply.data(), reply.size());
        }));
        service.receive<Done>();
    }
    const std::string name = fmt::format("{}, {}", call.name, placement);
    addRow(name + ": p50", "us", own.p50(), bare.p50(), call.goal);
    addRow(name + ": p99", "us", own.p99(), bare.p99());
    addRow(name + ": a second", "", median(ownRates), median(bareRates));
}

}  // namespace

void measureCalls(const Settings& settings) {
    beginTable("Control calls and messages there and back", "library", "bare socket");
    for (const auto& [placement, processor] : kPlacements) {
        const Service service{processor};
        const auto imu = createImuSensor();
        MessageClient messages;
        std::vector<Call> calls{{"configureStream",
                                 [&] {
                                     imu->configureStream({1000, 1});
                                 },
                                 kConfigureStreamSize, ratioOf(1.5)}};
        std::vector<uint8_t> payloads[] = {std::vector<uint8_t>(64),
                                           std::vector<uint8_t>(kKivraRpcMaxPayloadSize)};
        for (std::vector<uint8_t>& payload : payloads) {
            const auto size = static_cast<uint32_t>(payload.size());
            calls.push_back({fmt::format("message of {} bytes", size),
                             [&] { messages.send(payload); },
                             {kMessageSize.request + size, kMessageSize.reply},
                             ratioOf(1.5)});
            calls.push_back({fmt::format("message of {} bytes and an answer of as many", size),
                             [&] { messages.sendAndAwaitAnswer(payload); },
                             {kMessageSize.request + size, kAnswerSize + size},
                             std::nullopt});
        }
        for (const Call& call : calls) {
            measure(settings, service.channel(), placement, call);
        }
    }
}

}  // namespace Bench
