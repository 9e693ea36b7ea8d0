// Services that break the rules: a client ends as prescribed for the case, or continues.
#include <vek/sensors/controller_provider.h>
#include <vek/sensors/service.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "end_to_end/environment.h"
#include "end_to_end/inbox.h"
#include "hostile/corruption.h"
#include "support/fake_service.h"

namespace {

using namespace TestSupport;
using namespace Vek::Sensors;
using ::testing::ExitedWithCode;
using ::testing::KilledBySignal;

void neverAnswer() {
    sendNotice("called");
    while (true) {
        pause();
    }
}
void die() {
    raise(SIGKILL);
}

struct HostileImu : Fake<Hidl::IImu> {
    using Preparation = std::function<void(const ServiceEnd<Hidl::ImuData>::Queue&, const Config&)>;

    HostileImu(Preparation preparation, std::function<void()> command)
        : preparation_(std::move(preparation)), command_(std::move(command)) {}

    Return<Hidl::Result> prepareStream(const Queue<Hidl::ImuData>& queue, Client client,
                                       const Config& config) override {
        Fake<Hidl::IImu>::prepareStream(queue, client, config).isOk();
        preparation_(*end<Hidl::ImuData>().queue, config);
        return result;
    }
    Return<Hidl::Result> controlStream(Client /*client*/, Command /*command*/) override {
        command_();
        return result;
    }

  private:
    const Preparation preparation_;
    const std::function<void()> command_;
};

/// Its records are valid at any instant, but change all the time.
struct FickleInputs : Fake<Hidl::IControllerStateProvider> {
    Return<Hidl::Result> prepareControllerInputStream(const Queue<Hidl::ControllerInputData>& queue,
                                                      Client client,
                                                      const Config& config) override {
        Fake<Hidl::IControllerStateProvider>::prepareControllerInputStream(queue, client, config)
            .isOk();
        ServiceEnd<Hidl::ControllerInputData>& input = end<Hidl::ControllerInputData>();
        std::thread([&input] {
            QueueCounters counters(*input.queue);
            const size_t capacity = input.queue->getQuantumCount();
            auto* const records = counters.records<Hidl::ControllerInputData>();
            for (uint8_t round = 0;; ++round) {
                for (size_t i = 0; i < capacity; ++i) {
                    *reinterpret_cast<volatile uint8_t*>(records + i) = round % 5;
                }
                if (input.queue->availableToRead() == 0) {
                    counters.written() += capacity * sizeof(*records);
                    input.signal();
                }
            }
        }).detach();
        return result;
    }
};

/// Calls its client and dies while the client serves that call.
struct DeadlyTambril : Fake<Hidl::ITambril> {
    Return<Hidl::Result> registerClient(Hidl::KivraRpcClientId /*id*/,
                                        const sp<Hidl::ITambrilCallback>& client) override {
        client->onKivraRpcMessage({}).isOk();
        die();
        return result;
    }
};

/// Calls its client all the time.
struct FloodingTambril : Fake<Hidl::ITambril> {
    Return<Hidl::Result> registerClient(Hidl::KivraRpcClientId id,
                                        const sp<Hidl::ITambrilCallback>& client) override {
        for (int i = 0; i < 4; ++i) {
            std::thread([client, isOneWay = id == Hidl::KivraRpcClientId::CMS] {
                while (isOneWay ? client->onKivraRpcMessage({}).isOk()
                                : client->getSensorClientInfo([](auto&&...) {}).isOk()) {
                }
            }).detach();
        }
        return result;
    }
};

struct DeadlyControllers : Fake<Hidl::IControllerProvider> {
    struct StreamingClient : Fake<Hidl::IControllerStreamingClient> {
        Return<void> release() override {
            die();
            return android::hardware::Void();
        }
    };
    Return<sp<Hidl::IControllerStreamingClient>> getStreamingClient() override {
        return sp<Hidl::IControllerStreamingClient>(new StreamingClient);
    }
};

/// For the rest of the process.
template <typename Service>
void serve(Service* service) {
    service->incStrong(nullptr);
    EXPECT_EQ(service->registerAsService("default"), android::OK);
}

void doNothing() {}

struct Behaviour {
    const char* name;
    /// Runs in a process of its own.
    void (*begin)();
};
const Behaviour kBehaviours[] = {
    {"corrupt samples",
     [] {
         const auto corrupt = [](const auto& queue, const auto& config) {
             corruptForever<Hidl::ImuData>(queue,
                                           Vek::OS::createEventFlagFromHandle(config.eventFlag));
         };
         serve(new HostileImu(corrupt, doNothing));
     }},
    {"death in a preparation", [] { serve(new HostileImu([](auto&&...) { die(); }, doNothing)); }},
    {"death in a command", [] { serve(new HostileImu([](auto&&...) {}, die)); }},
    {"no answer", [] { serve(new HostileImu([](auto&&...) {}, neverAnswer)); }},
    {"death before a signal",
     [] {
         const auto writeAndDie = [](const auto& queue, auto&&...) {
             std::thread([&queue] {
                 ++QueueCounters(queue).written();
                 die();
             }).detach();
         };
         serve(new HostileImu(writeAndDie, doNothing));
     }},
    {"death after a message", [] { serve(new DeadlyTambril); }},
    {"death in a destructor", [] { serve(new DeadlyControllers); }},
    {"fickle inputs", [] { serve(new FickleInputs); }},
    {"flood", [] { serve(new FloodingTambril); }},
};
const ClientRole kRole{
    "hostile service", [] {
        std::find_if(std::begin(kBehaviours), std::end(kBehaviours),
                     [](const Behaviour& behaviour) { return behaviour.name == roleArgument(); })
            ->begin();
        sendNotice("ready");
        return pause();
    }};

std::unique_ptr<ChildProcess> startService(const char* behaviour) {
    auto service = startClient("hostile service", behaviour);
    return service->awaitNotice() == "ready" ? std::move(service) : nullptr;
}

using HostileServicesDeathTest = EndToEndTest;

void prepareImu() {
    const auto composite = makeComposite();
    createImuSensor()->stream().addTo(*composite);
}

TEST_F(HostileServicesDeathTest, ImpossibleCountersEndTheReaderWithAKnownMessage) {
    const std::string tag = "\nF/Moriak-HidlWrapper: ";
    EXPECT_EXIT(
        {
            const auto service = startService("corrupt samples");
            const auto composite = makeComposite();
            const auto imu = createImuSensor();
            std::vector<ImuData> last;
            imu->stream().setCallbackv([&](IDataStream<ImuData>::Batch spans) {
                for (const auto& span : spans) {
                    last.assign(span.begin(), span.end());
                }
            });
            imu->stream().addTo(*composite);
            while (true) {
                composite->wait();
            }
        },
        KilledBySignal(SIGABRT),
        "^F/Moriak-HidlWrapper: Assertion failed: (static_cast<ssize_t>.availBytes. < 0" + tag +
            "observed FMQ readPtr ahead of writePtr; check for races in caller! availBytes=[0-9]+"
            "|avail > queueSize_" +
            tag +
            "observed FMQ with too many elements; check for races in caller! avail=[0-9]+, "
            "capacity=32|!began" +
            tag + "failed to begin FMQ read of [0-9]+ messages|!committed" + tag +
            "failed to commit FMQ read of [0-9]+ messages)\n$");
}

TEST_F(HostileServicesDeathTest, RecordsThatChangeDuringAReadAreReadAsOneKind) {
    EXPECT_EXIT(
        {
            const auto service = startService("fickle inputs");
            const auto composite = makeComposite();
            const auto state = createControllerStateProvider();
            size_t records = 0;
            state->streamControllerInputData().setCallbackv(
                [&](const auto& spans) { records += spans[0].size() + spans[1].size(); });
            state->streamControllerInputData().addTo(*composite);
            _exit(receiveUntil(*composite, [&] { return records > 300'000; }) ? 0 : 1);
        },
        ExitedWithCode(0), "^$");
}

TEST_F(HostileServicesDeathTest, FloodsOfCallsAreServedAndHoldUpNoCallOfTheClient) {
    const auto exchangeMessages = [](const char* clientId) {
        const auto service = startService("flood");
        const auto tamb = createTambStream();
        tamb->registerKivraRpcClient(clientId, [](const auto&) {});
        for (size_t i = 0; i < 1000; ++i) {
            tamb->getTimeTranslation(0, {}, {});
        }
        _exit(0);
    };
    EXPECT_EXIT(exchangeMessages("tracking"), ExitedWithCode(0), "^$");
    EXPECT_EXIT(exchangeMessages("CMS"), ExitedWithCode(0), "^$") << "of one-way calls";
}

TEST_F(HostileServicesDeathTest, ServiceDeathDuringACallCausesTheChosenReaction) {
    const std::string error =
        "HIDL error in virtual void Vek::Sensors::HidlWrapper::ImuSensor::start.*DEAD_OBJECT";
    const std::string death = "|Unexpected service death detected. [^ ]*hostile_tests ";
    struct Reaction {
        std::optional<bool> suppressesDumps;
        int signal;
        std::string text;
    };
    const Reaction reactions[] = {
        {std::nullopt, SIGABRT, "F/Moriak-HidlWrapper: " + error},
        {true, SIGUSR2, "E/Moriak-HidlWrapper: (" + error + death + "Exiting)"},
        {false, SIGABRT, "F/Moriak-HidlWrapper: (" + error + death + "Aborting)"}};
    for (const char* const behaviour : {"no answer", "death in a command"}) {
        for (const Reaction& reaction : reactions) {
            EXPECT_EXIT(
                {
                    if (reaction.suppressesDumps) {
                        suppressTransportCrashDumps(*reaction.suppressesDumps);
                    }
                    const auto service = startService(behaviour);
                    const std::unique_ptr<IImuSensor> imu = createImuSensor();
                    std::thread([&] {
                        if (service->awaitNotice() == "called") {
                            service->end(SIGKILL);
                        }
                    }).detach();
                    imu->start();
                },
                KilledBySignal(reaction.signal), reaction.text);
        }
    }
    const std::string dead = "HIDL error in virtual [^\n]*::";
    EXPECT_EXIT((startService("death in a preparation"), prepareImu()), KilledBySignal(SIGABRT),
                dead + "StreamHandle<.*::prepareStream.*DEAD_OBJECT");
    EXPECT_EXIT(
        {
            suppressTransportCrashDumps(false);
            const auto service = startService("death before a signal");
            const auto composite = makeComposite();
            const auto imu = createImuSensor();
            imu->stream().addTo(*composite);
            while (true) {
                composite->wait();
            }
        },
        KilledBySignal(SIGABRT),
        dead + "StreamHandle<.*::prepareStream.*DEAD_OBJECT" + death + "Aborting");
    EXPECT_EXIT((startService("death after a message"),
                 createTambStream()->registerKivraRpcClient("CMS", [](const auto&) {})),
                KilledBySignal(SIGABRT), dead + "TambStream::registerKivraRpcClient.*DEAD_OBJECT");
    EXPECT_EXIT((startService("death in a destructor"),
                 HidlWrapper::ControllerProvider().getStreamingClient().reset()),
                KilledBySignal(SIGABRT), dead + "~ControllerStreamingClient.*DEAD_OBJECT");
}

}  // namespace
