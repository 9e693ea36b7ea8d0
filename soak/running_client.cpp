#include "running_client.h"

#include <fmt/format.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <utility>

namespace Soak {

std::string contentOf(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

std::string errorsIn(const std::string& path) {
    static const std::regex emulatorsLine("qemu: uncaught target signal [^\n]*\n");
    return std::regex_replace(contentOf(path), emulatorsLine, "");
}

std::string describeThreads(int pid) {
    std::string text;
    for (const auto& task :
         std::filesystem::directory_iterator(fmt::format("/proc/{}/task", pid))) {
        const auto read = [&](const char* name) { return contentOf(task.path() / name); };
        text += fmt::format("{}: {}  in {} of system call {}", task.path().filename().string(),
                            read("comm"), read("wchan"), read("syscall"));
    }
    return text;
}

RunningClient::RunningClient(ClientPlan plan, std::string errorFile)
    : plan_(std::move(plan)),
      errorFile_(std::move(errorFile)),
      // Uses the real path, so that log lines show the program's name.
      process_({std::filesystem::read_symlink("/proc/self/exe"), "client", textOf(plan_)},
               errorFile_) {}

RunningClient::~RunningClient() {
    std::filesystem::remove(errorFile_);
}

std::optional<std::string> RunningClient::awaitNotice(const std::string& notice) {
    size_t place = std::string::npos;
    while ((place = notices_.find(notice)) == std::string::npos) {
        const std::string more = process_.awaitNotice();
        if (more.empty()) {
            return std::nullopt;
        }
        notices_ += more;
    }
    const std::string before = notices_.substr(0, place);
    notices_.erase(0, place + notice.size());
    return before;
}

Verdict RunningClient::awaitEnd(const Fate& fate) {
    const std::optional<int> end = process_.waitFor(kBound);
    if (!end) {
        throw Failure("it hangs:\n" + describeThreads(pid()) + describe());
    }
    Verdict verdict = judge(plan_, fate, *end, errorsIn(errorFile_));
    if (!verdict.problem.empty()) {
        throw Failure(verdict.problem + describe());
    }
    return verdict;
}

std::string RunningClient::describe() const {
    return fmt::format("\nclient \"{}\"\n{}", textOf(plan_), contentOf(errorFile_));
}

}  // namespace Soak
