#include "support/simulator.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace TestSupport {

Simulator::Simulator(std::vector<std::string> options, const std::string& errorFile) {
    summaryFile_ = std::string(getenv("MORIAK_HIDL_RUNTIME_DIR")) + "/summary";
    options.insert(options.begin(),
                   {MORIAK_SIMULATOR, "--quiet", "--ready-fd", "3", "--summary", summaryFile_});
    process_ = std::make_unique<ChildProcess>(options, errorFile);
    if (process_->awaitNotice().empty()) {
        std::fputs("the simulator did not start\n", stderr);
        std::abort();
    }
}

std::string Simulator::finish() {
    process_->end(SIGTERM);
    std::ostringstream summary;
    summary << std::ifstream(summaryFile_).rdbuf();
    return summary.str();
}

bool Simulator::settlesAt(const ProcessResources& expected) const {
    return becomesTrue([&] {
        const ProcessResources now = resourcesOf(pid());
        return now.descriptors == expected.descriptors && now.mappings == expected.mappings &&
               now.threads <= expected.threads;
    });
}

}  // namespace TestSupport
