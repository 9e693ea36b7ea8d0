// The other processes of a benchmark, and their resource usage.
#pragma once

#include <sched.h>
#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Bench {

/// One end of a socket between two processes, for whole values. Ends the process if the other end
/// is closed.
class Channel {
  public:
    explicit Channel(int socket) : socket_(socket) {}

    template <typename T>
    void send(const T& value) const {
        sendBytes(&value, sizeof(value));
    }
    template <typename T>
    T receive() const {
        T value;
        receiveBytes(&value, sizeof(value));
        return value;
    }
    void sendBytes(const void* bytes, size_t size) const;
    void receiveBytes(void* bytes, size_t size) const;

  private:
    int socket_;
};

/// The descriptor at which a child process has its end.
inline constexpr int kChildsChannel = 3;

/// A program that was started; killed with its object.
class Peer {
  public:
    /// @param arguments begin with the program
    explicit Peer(std::vector<std::string> arguments);
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    pid_t pid() const { return pid_; }
    Channel channel() const { return Channel{socket_}; }

    /// Waits until the program says with a byte on the channel that it is up.
    void awaitReady() const { channel().receive<char>(); }

    /// Asks for its end with SIGTERM.
    void terminate() const;

    /// Waits for its own end. @return whether that was a success
    bool awaitEnd();

  private:
    pid_t pid_ = -1;
    int socket_ = -1;
};

/// The arguments that start this program again, in a role of main.cpp.
inline std::vector<std::string> inRole(const std::string& role) {
    return {"/proc/self/exe", "--role", role};
}

/// The arguments that start the simulated service.
std::vector<std::string> simulator();

/// Keeps this process, and those that it starts, on one processor while it lives: where the
/// scheduler puts them makes more of a difference than what is measured.
class OnProcessor {
  public:
    explicit OnProcessor(uint32_t processor);
    ~OnProcessor();
    OnProcessor(const OnProcessor&) = delete;
    OnProcessor& operator=(const OnProcessor&) = delete;

  private:
    cpu_set_t before_;
};

/// What a process has used of the processors so far, in ns.
double cpuTimeOf(pid_t process);
double ownCpuTime();

struct Resources {
    /// Its share of the pages that it has in memory.
    double mebibytes;
    /// Of the pages that no other process has.
    double privateMebibytes;
    double descriptors;
    double threads;
};

Resources resourcesOf(pid_t process);

}  // namespace Bench
