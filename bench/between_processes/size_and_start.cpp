// What the library adds to a program before the first sample: bytes, relocations, time, memory.
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "between_processes/benchmarks.h"
#include "between_processes/peer.h"

namespace Bench {
namespace {

const std::string kLibrary = MORIAK_LIBRARY;

/// The number that a command of the shell prints.
double numberFrom(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> output{popen(command.c_str(), "r"), pclose};
    std::array<char, 64> line{};
    return fgets(line.data(), line.size(), output.get()) == nullptr ? 0 : std::atof(line.data());
}

/// From the start of a program to its end, in ms.
double runTimeOf(const std::vector<std::string>& arguments) {
    const auto begin = std::chrono::steady_clock::now();
    if (!Peer{arguments}.awaitEnd()) {
        std::fprintf(stderr, "error: %s failed\n", arguments[0].c_str());
        std::exit(1);
    }
    return microsecondsSince(begin) / 1000;
}

Resources resourcesWhile(const std::vector<std::string>& arguments) {
    const Peer program{arguments};
    program.awaitReady();
    return resourcesOf(program.pid());
}

}  // namespace

void measureSizeAndStart(const Settings& settings) {
    beginTable("Size and start of a client", "with the library", "without");
    addRow("library, stripped", "bytes",
           numberFrom("f=$(mktemp); strip -o $f " + kLibrary + "; stat -c %s $f; rm $f"));
    addRow("relocations", "", numberFrom("readelf -rW " + kLibrary + " | grep -c R_"));
    addRow("exported symbols", "", numberFrom("nm -D --defined-only " + kLibrary + " | wc -l"));

    const Peer service{simulator()};
    service.awaitReady();
    std::vector<double> bare, loaded, streamed;
    for (uint32_t i = 0; i < settings.choose(100, 5); ++i) {
        bare.push_back(runTimeOf({MORIAK_BARE_CLIENT}));
        loaded.push_back(runTimeOf({MORIAK_IMU_CLIENT}));
        streamed.push_back(runTimeOf({MORIAK_IMU_CLIENT, "sample"}));
    }
    addRow("program that starts and ends", "ms", median(loaded), median(bare));
    addRow("program that starts, gets an IMU sample and ends", "ms", median(streamed),
           median(bare));
    const Resources own = resourcesWhile({MORIAK_IMU_CLIENT, "stream"});
    const Resources without = resourcesWhile({MORIAK_BARE_CLIENT, "stay"});
    addRow("memory of a program that streams the IMU", "MiB", own.mebibytes, without.mebibytes);
    addRow("of that, in pages that no other process has", "MiB", own.privateMebibytes,
           without.privateMebibytes);
    addRow("its descriptors", "", own.descriptors, without.descriptors);
    addRow("its threads", "", own.threads, without.threads);
}

}  // namespace Bench
