#include "control.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <log/log.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#include "options.h"

namespace Simulator {
namespace {

constexpr size_t kLongestCommand = 4096;  // in bytes
/// A command arrives whole; a sender that is slow must not block the others.
constexpr timeval kPatience{1, 0};

constexpr char kHelp[] =
    "usage: moriak-sensor-simulator ctl COMMAND\n\n"
    "Sets and clears faults of the simulated service that runs. COMMAND is one of\n\n"
    "  set KIND TARGET [VALUE] [client=PROCESS] [nth=N] [once] [probability=P]\n"
    "                  has TARGET do this from now on; prints the fault's number\n"
    "  clear NUMBER    ends a fault\n"
    "  clear all       ends all faults\n"
    "  list            shows the faults that there are, and how often each came\n"
    "  targets         shows the calls, streams, cameras and controllers by their names\n"
    "  die [TIME]      ends the service as a crash would; with a TIME, it is back after that\n\n"
    "TIME is a number with a unit, as in 1.5s, 20ms, 3us, 4ns. Kinds of faults:\n\n";

/// The directory where the host layer registers the services of this user (docs/host-layer.md).
std::string socketDirectory() {
    const char* const named = std::getenv("MORIAK_HIDL_RUNTIME_DIR");
    const char* const runtime = std::getenv("XDG_RUNTIME_DIR");
    return named != nullptr && *named != '\0'       ? std::string(named)
           : runtime != nullptr && *runtime != '\0' ? std::string(runtime) + "/moriak-hidl"
                                                    : fmt::format("/tmp/moriak-hidl-{}", geteuid());
}

/// Address of the socket, independent of the length of the directory's path. @param directory a
/// descriptor of it
sockaddr_un addressIn(int directory) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = fmt::format("/proc/self/fd/{}/simulator-control", directory);
    std::copy(path.begin(), path.end(), std::begin(address.sun_path));
    return address;
}

int openSocketDirectory() {
    return open(socketDirectory().c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

int openSocket() {
    return socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
}

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> words;
    std::istringstream stream{text};
    for (std::string word; std::getline(stream, word, separator);) {
        words.push_back(word);
    }
    return words;
}

std::string joined(const std::vector<std::string>& lines) {
    return fmt::format("{}{}", fmt::join(lines, "\n"), lines.empty() ? "" : "\n");
}

std::string receive(int descriptor) {
    setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof(kPatience));
    setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &kPatience, sizeof(kPatience));
    std::string text(kLongestCommand, '\0');
    const ssize_t size = recv(descriptor, text.data(), text.size(), 0);
    text.resize(size < 0 ? 0 : static_cast<size_t>(size));
    return text;
}

bool isSameUser(int descriptor) {
    ucred peer{};
    socklen_t size = sizeof(peer);
    return getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
           peer.uid == geteuid();
}

/// Removes the socket of a dead service. @return whether the path is free
bool isFree(const sockaddr_un& address) {
    const int probe = openSocket();
    const bool isServed =
        connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    close(probe);
    return !isServed && (unlink(address.sun_path) == 0 || errno == ENOENT);
}

}  // namespace

Answer execute(Faults* faults, const std::vector<std::string>& words,
               const std::vector<std::string>& returnOptions) {
    const std::string verb = words.empty() ? "" : words[0];
    const std::vector<std::string> rest(words.begin() + (words.empty() ? 0 : 1), words.end());
    if (verb == "list" && rest.empty()) {
        return {true, joined(faults->active())};
    }
    if (verb == "targets" && rest.empty()) {
        return {true, joined(faults->targets())};
    }
    if (verb == "set") {
        std::string error;
        const std::optional<Fault> fault = parseFault(rest, &error);
        const uint32_t number = fault ? faults->set(*fault, &error) : 0;
        return number == 0 ? Answer{false, error + "\n"}
                           : Answer{true, fmt::format("{}\n", number)};
    }
    if (verb == "clear" && rest.size() == 1) {
        if (rest[0] == "all") {
            faults->clearAll();
            return {true, ""};
        }
        const bool isNumber = rest[0].find_first_not_of("0123456789") == std::string::npos;
        const unsigned long number = isNumber ? std::strtoul(rest[0].c_str(), nullptr, 10) : 0;
        return faults->clear(static_cast<uint32_t>(number))
                   ? Answer{true, ""}
                   : Answer{false, fmt::format("there is no fault '{}'\n", rest[0])};
    }
    if (verb == "die" && rest.size() <= 1) {
        const auto back = rest.empty() ? std::nullopt : parseTime(rest[0]);
        if (!rest.empty() && !back) {
            return {false, fmt::format("'{}' is no TIME\n", rest[0])};
        }
        ALOGW("dies%s", back ? " and comes back" : "");
        die(back, returnOptions);
    }
    return {false,
            fmt::format("'{}' is none of set, clear, list, targets, die\n", fmt::join(words, " "))};
}

std::optional<std::vector<ScriptLine>> readScript(const std::string& file, std::string* error) {
    std::ifstream stream{file};
    if (!stream) {
        *error = fmt::format("cannot read {}: {}", file, std::strerror(errno));
        return std::nullopt;
    }
    std::vector<ScriptLine> lines;
    size_t number = 0;
    for (std::string text; std::getline(stream, text);) {
        ++number;
        std::istringstream words{text};
        std::string time;
        if (!(words >> time) || time[0] == '#') {
            continue;
        }
        ScriptLine line{parseTime(time + "s").value_or(std::chrono::nanoseconds(-1)), {}};
        for (std::string word; words >> word;) {
            line.words.push_back(word);
        }
        std::string problem;
        if (line.time.count() < 0 || line.words.empty()) {
            problem = "a line is: SECONDS COMMAND";
        } else if (line.words[0] == "set") {
            parseFault({line.words.begin() + 1, line.words.end()}, &problem);
        }
        if (!problem.empty()) {
            *error = fmt::format("{}:{}: {}", file, number, problem);
            return std::nullopt;
        }
        lines.push_back(line);
    }
    std::stable_sort(lines.begin(), lines.end(),
                     [](const ScriptLine& a, const ScriptLine& b) { return a.time < b.time; });
    return lines;
}

Control::Control(std::shared_ptr<Faults> faults)
    : faults_(std::move(faults)),
      begin_(std::chrono::steady_clock::now()),
      wake_(eventfd(0, EFD_CLOEXEC)) {}

Control::~Control() {
    const uint64_t one = 1;
    static_cast<void>(write(wake_, &one, sizeof(one)));
    if (player_.joinable()) {
        player_.join();
    }
    if (server_.joinable()) {
        server_.join();
        unlink(addressIn(directory_).sun_path);
    }
    close(socket_);
    close(directory_);
    close(wake_);
}

std::string Control::listen() {
    directory_ = openSocketDirectory();
    socket_ = openSocket();
    const sockaddr_un address = addressIn(directory_);
    constexpr int kBacklog = 8;
    if (!isFree(address) ||
        bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        chmod(address.sun_path, S_IRUSR | S_IWUSR) != 0 || ::listen(socket_, kBacklog) != 0) {
        return fmt::format("cannot take commands in {}: {}", socketDirectory(),
                           std::strerror(errno));
    }
    return "";
}

/// Serves one command at a time.
void Control::serve() {
    while (true) {
        pollfd events[] = {{wake_, POLLIN, 0}, {socket_, POLLIN, 0}};
        poll(events, std::size(events), -1);
        if (events[0].revents != 0) {
            return;
        }
        const int client = accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC);
        if (client >= 0 && isSameUser(client)) {
            const Answer answer =
                execute(faults_.get(), split(receive(client), '\n'), returnOptions());
            const std::string text = (answer.isDone ? "+" : "-") + answer.text;
            static_cast<void>(send(client, text.data(), text.size(), MSG_NOSIGNAL));
        }
        close(client);
    }
}

void Control::start(std::vector<ScriptLine> script, std::chrono::duration<double> from) {
    const auto played = std::chrono::duration_cast<std::chrono::nanoseconds>(from);
    begin_ = std::chrono::steady_clock::now() - played;
    script.erase(script.begin(),
                 std::find_if(script.begin(), script.end(),
                              [&](const ScriptLine& line) { return line.time >= played; }));
    server_ = std::thread([this] { serve(); });
    player_ = std::thread([this, lines = std::move(script)] { run(lines); });
}

void Control::run(const std::vector<ScriptLine>& script) const {
    for (const ScriptLine& line : script) {
        const auto due = begin_ + line.time;
        const auto left = std::max(due - std::chrono::steady_clock::now(),
                                   std::chrono::steady_clock::duration::zero());
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
        const timespec timeout{seconds.count(), (left - seconds).count()};
        pollfd end{wake_, POLLIN, 0};
        if (ppoll(&end, 1, &timeout, nullptr) != 0) {
            return;
        }
        const Answer answer = execute(faults_.get(), line.words, returnOptions());
        if (!answer.isDone) {
            ALOGE("script: %s", answer.text.c_str());
        }
    }
}

std::vector<std::string> Control::returnOptions() const {
    const std::chrono::duration<double> played = std::chrono::steady_clock::now() - begin_;
    return {fmt::format("--script-from={:.3f}", played.count() + 0.001)};
}

int runControlClient(const std::vector<std::string>& words) {
    if (words.empty() || words[0] == "--help" || words[0] == "-h") {
        fmt::print(words.empty() ? stderr : stdout, "{}  {}\n", kHelp,
                   fmt::join(describeFaultKinds(), "\n  "));
        return words.empty() ? kWrongUsage : kSuccess;
    }
    const int directory = openSocketDirectory();
    const sockaddr_un address = addressIn(directory);
    const int service = openSocket();
    const int connected =
        connect(service, reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    close(directory);
    if (connected != 0) {
        fmt::print(stderr, "error: no simulator takes commands in {}\n", socketDirectory());
        close(service);
        return kFailure;
    }
    const std::string command = fmt::format("{}", fmt::join(words, "\n"));
    send(service, command.data(), command.size(), MSG_NOSIGNAL);
    std::string answer(1 << 16, '\0');
    const ssize_t size = recv(service, answer.data(), answer.size(), 0);
    close(service);
    if (size <= 0) {
        // After "die" the simulator ends without an answer.
        const bool isDead = words[0] == "die";
        fmt::print(stderr, "{}", isDead ? "" : "error: the simulator ended\n");
        return isDead ? kSuccess : kFailure;
    }
    answer.resize(static_cast<size_t>(size));
    if (answer[0] != '+') {
        fmt::print(stderr, "error: {}", answer.substr(1));
        return kWrongUsage;
    }
    fmt::print("{}", answer.substr(1));
    return kSuccess;
}

}  // namespace Simulator
