#include "between_processes/peer.h"

#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>

namespace Bench {
namespace {

[[noreturn]] void fail(const char* what) {
    perror(what);
    std::exit(1);
}

double countEntries(const std::filesystem::path& directory) {
    const std::filesystem::directory_iterator entries{directory};
    return static_cast<double>(std::distance(begin(entries), end(entries)));
}

}  // namespace

void Channel::sendBytes(const void* bytes, size_t size) const {
    if (::send(socket_, bytes, size, MSG_NOSIGNAL) != static_cast<ssize_t>(size)) {
        fail("cannot reach the other process");
    }
}

void Channel::receiveBytes(void* bytes, size_t size) const {
    const ssize_t received = recv(socket_, bytes, size, MSG_WAITALL);
    if (received == 0) {
        std::exit(1);  // the other process has said why
    }
    if (received != static_cast<ssize_t>(size)) {
        fail("no answer from the other process");
    }
}

Peer::Peer(std::vector<std::string> arguments) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        fail("socketpair");
    }
    std::vector<char*> argv;
    for (std::string& argument : arguments) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], kChildsChannel);
    errno = posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (errno != 0) {
        fail(argv[0]);
    }
    close(ends[1]);
    socket_ = ends[0];
}

Peer::~Peer() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        awaitEnd();
    }
    close(socket_);
}

void Peer::terminate() const {
    kill(pid_, SIGTERM);
}

bool Peer::awaitEnd() {
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

std::vector<std::string> simulator() {
    return {MORIAK_SIMULATOR, "--quiet", "--ready-fd", std::to_string(kChildsChannel)};
}

OnProcessor::OnProcessor(uint32_t processor) {
    sched_getaffinity(0, sizeof(before_), &before_);
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(processor, &one);
    // Fails, without harm, if the machine does not have this processor.
    sched_setaffinity(0, sizeof(one), &one);
}

OnProcessor::~OnProcessor() {
    sched_setaffinity(0, sizeof(before_), &before_);
}

double cpuTimeOf(pid_t process) {
    clockid_t clock{};
    timespec time{};
    if (clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &time) != 0) {
        fail("no processor time of a process");
    }
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

double ownCpuTime() {
    return cpuTimeOf(getpid());
}

Resources resourcesOf(pid_t process) {
    const std::filesystem::path directory = "/proc/" + std::to_string(process);
    Resources resources{0, 0, countEntries(directory / "fd"), countEntries(directory / "task")};
    std::ifstream rollup{directory / "smaps_rollup"};
    for (std::string line; std::getline(rollup, line);) {
        if (line.rfind("Pss:", 0) == 0) {
            resources.mebibytes = std::stod(line.substr(4)) / 1024;
        } else if (line.rfind("Private_", 0) == 0) {
            resources.privateMebibytes += std::stod(line.substr(line.find(':') + 1)) / 1024;
        }
    }
    return resources;
}

}  // namespace Bench
