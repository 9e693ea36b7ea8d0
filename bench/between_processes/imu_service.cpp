// See imu_service.h.
#include "between_processes/imu_service.h"

#include <fcntl.h>
#include <fmq/EventFlag.h>
#include <fmq/MessageQueue.h>
#include <sys/mman.h>
#include <unistd.h>
#include <vendor/zelvan/hardware/sensors/1.0/IImu.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <optional>

namespace Bench {
namespace {

namespace Hal = ::vendor::zelvan::hardware::sensors::V1_0;
using android::hardware::EventFlag;
using android::hardware::Return;
using Queue =
    android::hardware::MessageQueue<Hal::ImuData, android::hardware::kSynchronizedReadWrite>;

class Imu : public Hal::IImu {
  public:
    Return<void> getProperties(getProperties_cb callback) override {
        callback(Hal::Result::SUCCESS, {});
        return android::hardware::Void();
    }
    Return<Hal::Result> prepareStream(const Queue::Descriptor& queue,
                                      const android::sp<Hal::ISensorClient>& /*client*/,
                                      const Hal::FmqConfig& config) override {
        queue_.emplace(queue);
        EventFlag::deleteEventFlag(&eventFlag_);
        EventFlag::createEventFlag(config.eventFlag->data[0], 0, &eventFlag_);
        config_ = config;
        return Hal::Result::SUCCESS;
    }
    Return<Hal::Result> controlStream(const android::sp<Hal::ISensorClient>& /*client*/,
                                      Hal::StreamCommand /*command*/) override {
        return Hal::Result::SUCCESS;
    }
    Return<Hal::Result> configureStream(
        const Hal::MotionStreamProperties& /*properties*/) override {
        return Hal::Result::SUCCESS;
    }

    void write(const Hal::ImuData& record) {
        queue_->write(&record);
        eventFlag_->wake(config_.dataReadyBit);
    }
    void awaitReadDone() { takeReadDone(0); }
    void takeReadDone(int64_t timeout = 1) {
        uint32_t state = 0;
        eventFlag_->wait(config_.readNotifyBit, &state, timeout, true);
    }

  private:
    // Set on a HIDL thread, before the orders that need them are sent.
    std::optional<Queue> queue_;
    EventFlag* eventFlag_ = nullptr;
    Hal::FmqConfig config_;
};

int64_t now() {
    return std::chrono::nanoseconds{std::chrono::steady_clock::now().time_since_epoch()}.count();
}

/// @param end the service's end of the queue or of the ring
template <typename Record, typename End>
void writeRecords(const Order& order, End& end) {
    constexpr int64_t kSecond = 1'000'000'000;
    Record record{};
    int64_t due = now();
    for (uint32_t i = 0; i < order.count; ++i) {
        if (order.rate > 0) {
            due += kSecond / order.rate;
            const timespec deadline{due / kSecond, due % kSecond};
            clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr);
            end.takeReadDone();
        }
        record.timestamp = now();
        end.write(record);
        if (order.rate == 0 || i + 1 == order.count) {
            end.awaitReadDone();
        }
    }
}

void echo(const Order& order, const Channel& channel) {
    for (uint32_t i = 0; i < order.count; ++i) {
        channel.receive<Request>();
        channel.send(Reply{});
    }
}

}  // namespace

BareRing& sharedRing() {
    const std::string path = std::string(getenv("MORIAK_HIDL_RUNTIME_DIR")) + "/ring";
    const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    void* const memory =
        ftruncate(fd, sizeof(BareRing)) == 0
            ? mmap(nullptr, sizeof(BareRing), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0)
            : MAP_FAILED;
    if (memory == MAP_FAILED) {
        perror(path.c_str());
        std::exit(1);
    }
    close(fd);
    return *static_cast<BareRing*>(memory);
}

int serveImu() {
    BareRing& ring = sharedRing();
    const android::sp<Imu> imu = new Imu;
    if (imu->registerAsService("default") != android::OK) {
        return 1;
    }
    const Channel channel{kChildsChannel};
    channel.send('r');
    while (true) {
        const auto order = channel.receive<Order>();
        const double before = ownCpuTime();
        switch (order.what) {
            case Order::What::kQueue:
                writeRecords<Hal::ImuData>(order, *imu);
                break;
            case Order::What::kRing:
                writeRecords<BareRing::Record>(order, ring);
                break;
            case Order::What::kEcho:
                echo(order, channel);
                break;
        }
        channel.send(ownCpuTime() - before);
    }
}

}  // namespace Bench
