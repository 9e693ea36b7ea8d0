// Starting, signalling and examining child processes.
#include "support/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <thread>

namespace TestSupport {
namespace {

constexpr int kNoticeDescriptor = 3;

size_t countEntries(const std::string& directory) {
    size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(directory)) {
        ++count;
    }
    return count;
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& arguments,
                           const std::string& errorFile) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        perror("pipe2");
        abort();
    }
    std::vector<char*> argv;
    for (const std::string& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    pid_ = fork();
    if (pid_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (!errorFile.empty()) {
            dup2(open(errorFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC,
                      S_IRUSR | S_IWUSR),
                 STDERR_FILENO);
        }
        if (ends[1] == kNoticeDescriptor) {
            fcntl(kNoticeDescriptor, F_SETFD, 0);
        } else {
            dup2(ends[1], kNoticeDescriptor);
        }
        execv(argv[0], argv.data());
        perror(argv[0]);
        _exit(127);
    }
    close(ends[1]);
    notices_ = ends[0];
}

ChildProcess::~ChildProcess() {
    end(SIGKILL);
    close(notices_);
}

std::string ChildProcess::awaitNotice() {
    constexpr int kTimeoutMs = 20'000;
    pollfd entry{notices_, POLLIN, 0};
    char buffer[256];
    if (poll(&entry, 1, kTimeoutMs) != 1) {
        return {};
    }
    const ssize_t length = read(notices_, buffer, sizeof(buffer));
    return length > 0 ? std::string(buffer, static_cast<size_t>(length)) : std::string{};
}

void ChildProcess::send(int signal) const {
    if (pid_ > 0) {
        kill(pid_, signal);
    }
}

void ChildProcess::end(int signal) {
    if (pid_ > 0) {
        send(signal);
        wait();
    }
}

int ChildProcess::wait() {
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

std::optional<int> ChildProcess::waitFor(std::chrono::milliseconds timeout) {
    pollfd hangUp{notices_, 0, 0};  // the other end is closed with the program
    const bool hasEnded = poll(&hangUp, 1, static_cast<int>(timeout.count())) == 1;
    return hasEnded ? std::optional(wait()) : std::nullopt;
}

bool sendNotice(const std::string& text) {
    return write(kNoticeDescriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

ProcessResources resourcesOf(int pid) {
    const std::string directory = "/proc/" + std::to_string(pid);
    size_t sharedMappings = 0;
    std::ifstream maps{directory + "/maps"};
    for (std::string line; std::getline(maps, line);) {
        sharedMappings += line.find("/memfd:") != std::string::npos ? 1 : 0;
    }
    return {countEntries(directory + "/fd"), countEntries(directory + "/task"), sharedMappings};
}

bool becomesTrue(const std::function<bool()>& condition) {
    using namespace std::chrono_literals;
    const auto deadline = std::chrono::steady_clock::now() + 30s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

bool fallsAsleep(int thread) {
    const std::string stat = "/proc/self/task/" + std::to_string(thread) + "/stat";
    // State "S" of the line "number (name) state …": asleep.
    return becomesTrue([&stat] {
        std::string line;
        std::getline(std::ifstream{stat}, line);
        return line.find(") S ") != std::string::npos;
    });
}

}  // namespace TestSupport
