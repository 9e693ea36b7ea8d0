#include "between_processes/service.h"

#include <fcntl.h>
#include <sys/mman.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "between_processes/benchmarks.h"
#include "between_processes/service_interfaces.h"

namespace Bench {
namespace {

int64_t now() {
    return std::chrono::nanoseconds{std::chrono::steady_clock::now().time_since_epoch()}.count();
}

/// @param end the service's end of the queue or of the ring
template <typename Record, typename End>
void writeSamples(const Order& order, End& end) {
    constexpr int64_t kSecond = 1'000'000'000;
    Record record{};
    // That of the last order may still be there.
    end.takeReadDone();
    int64_t due = now();
    for (uint32_t i = 0; i < order.count; ++i) {
        if (order.rate > 0) {
            due += kSecond / order.rate;
            const timespec deadline{due / kSecond, due % kSecond};
            clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr);
            end.takeReadDone();
            // For a client that did not get to run for a while.
            end.awaitRoom();
        }
        record.timestamp = now();
        end.write(record);
        if (order.rate == 0 || i + 1 == order.count) {
            end.awaitReadDone();
        }
    }
}

/// @param exchange hands a record out and waits until it is back
/// @return how long each took, in us
template <typename Record, typename Exchange>
std::vector<double> exchangeFrameSets(const Order& order, Exchange exchange) {
    std::vector<double> times;
    times.reserve(order.count);
    Record record{};
    for (uint32_t i = 0; i < order.count; ++i) {
        const auto begin = std::chrono::steady_clock::now();
        exchange(record);
        times.push_back(microsecondsSince(begin));
    }
    return times;
}

void echo(const Order& order, const Channel& channel) {
    std::vector<char> request(order.requestSize);
    const std::vector<char> reply(order.replySize);
    for (uint32_t i = 0; i < order.count; ++i) {
        channel.receiveBytes(request.data(), request.size());
        channel.sendBytes(reply.data(), reply.size());
    }
}

}  // namespace

BareRings& sharedRings() {
    const std::string path = std::string(getenv("MORIAK_HIDL_RUNTIME_DIR")) + "/rings";
    const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    void* const memory =
        ftruncate(fd, sizeof(BareRings)) == 0
            ? mmap(nullptr, sizeof(BareRings), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0)
            : MAP_FAILED;
    if (memory == MAP_FAILED) {
        perror(path.c_str());
        std::exit(1);
    }
    close(fd);
    return *static_cast<BareRings*>(memory);
}

int serve() {
    BareRings& rings = sharedRings();
    const sp<Imu> imu = new Imu;
    const sp<CameraProvider> cameras = new CameraProvider;
    const sp<Tambril> tambril = new Tambril;
    if (imu->registerAsService("default") != android::OK ||
        cameras->registerAsService("default") != android::OK ||
        tambril->registerAsService("default") != android::OK) {
        return 1;
    }
    const Channel channel{kChildsChannel};
    channel.send('r');
    while (true) {
        const auto order = channel.receive<Order>();
        const double before = ownCpuTime();
        std::vector<double> times{0};
        switch (order.what) {
            case Order::What::kSamples:
                writeSamples<Hidl::ImuData>(order, imu->samples);
                break;
            case Order::What::kBareSamples:
                writeSamples<decltype(rings.samples)::Record>(order, rings.samples);
                break;
            case Order::What::kEventSamples:
                writeSamples<decltype(rings.eventSamples)::Record>(order, rings.eventSamples);
                break;
            case Order::What::kFrameSets:
                times = exchangeFrameSets<Hidl::FrameSet>(
                    order, [&](const auto& frameSet) { cameras->stream->exchange(frameSet); });
                break;
            case Order::What::kBareFrameSets:
                times = exchangeFrameSets<decltype(rings.frameSets)::Record>(
                    order, [&](const auto& frameSet) {
                        rings.frameSets.write(frameSet);
                        rings.recycledFrameSets.read([](const auto& /*frameSet*/) {});
                    });
                break;
            case Order::What::kEcho:
                echo(order, channel);
                break;
        }
        channel.send(Done{ownCpuTime() - before, median(times), quantile(times, 0.99)});
    }
}

}  // namespace Bench
