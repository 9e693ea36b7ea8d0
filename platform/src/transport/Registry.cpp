// Creates, checks, reads and cleans up the directory of services.
#define LOG_TAG "HidlRegistry"

#include "transport/Registry.h"

#include <dirent.h>
#include <fcntl.h>
#include <log/log.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>

namespace android::hardware::details {

namespace {

constexpr char kSocketPrefix[] = "process-";
constexpr char kSeparator = '=';

std::string directoryPath() {
    // secure_getenv: a program with more rights than its user ignores the user's environment.
    const char* named = secure_getenv("MORIAK_HIDL_RUNTIME_DIR");
    if (named != nullptr && *named != '\0') return named;
    const char* runtime = secure_getenv("XDG_RUNTIME_DIR");
    if (runtime != nullptr && *runtime != '\0') return std::string(runtime) + "/moriak-hidl";
    return "/tmp/moriak-hidl-" + std::to_string(geteuid());
}

/** Identifies the PID namespace: process numbers of a container are not ours. */
ino_t pidNamespace() {
    struct stat status {};
    return stat("/proc/self/ns/pid", &status) == 0 ? status.st_ino : 0;
}

/** @return false, leaving `text` unchanged, unless it begins with a number and a hyphen */
template <typename Number>
bool takeNumber(std::string_view* text, Number* number) {
    const char* const end = text->data() + text->size();
    const auto parsed = std::from_chars(text->data(), end, *number);
    if (parsed.ec != std::errc() || parsed.ptr == end || *parsed.ptr != '-') return false;
    text->remove_prefix(static_cast<size_t>(parsed.ptr - text->data()) + 1);
    return true;
}

std::string linkName(const std::string& interfaceName, const std::string& instance) {
    return interfaceName + kSeparator + instance;
}

}  // namespace

std::optional<Registry> Registry::open(Mode mode) {
    const std::string path = directoryPath();
    if (mode == Mode::kCreate && mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
        ALOGE("cannot create %s: %s", path.c_str(), std::strerror(errno));
        return std::nullopt;
    }
    unique_fd directory(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!directory.ok() || fstat(directory.get(), &status) != 0) {
        if (mode == Mode::kCreate || errno != ENOENT) {
            ALOGE("cannot open %s: %s", path.c_str(), std::strerror(errno));
        }
        return std::nullopt;
    }
    if (status.st_uid != geteuid()) {
        ALOGE("%s belongs to user %u, not to this one", path.c_str(), status.st_uid);
        return std::nullopt;
    }
    // Does not change the mode: an existing directory may have other uses.
    if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        ALOGE("%s is open to other users (mode %o, not 700)", path.c_str(), status.st_mode & 07777);
        return std::nullopt;
    }
    return Registry(std::move(directory));
}

int Registry::publish(const std::string& interfaceName, const std::string& instance,
                      const std::string& socketName) {
    const std::string name = linkName(interfaceName, instance);
    // Creates the link under a temporary name and renames it, so that it replaces an older link
    // atomically.
    static std::atomic<unsigned> count{0};
    const std::string newName = "new" + (kSeparator + socketName) + "-" + std::to_string(++count);
    if (symlinkat(socketName.c_str(), directory_.get(), newName.c_str()) != 0 ||
        renameat(directory_.get(), newName.c_str(), directory_.get(), name.c_str()) != 0) {
        return -errno;
    }
    return 0;
}

std::optional<std::string> Registry::find(const std::string& interfaceName,
                                          const std::string& instance) const {
    char target[NAME_MAX + 1];
    const ssize_t length = readlinkat(directory_.get(), linkName(interfaceName, instance).c_str(),
                                      target, sizeof(target));
    if (length <= 0) return std::nullopt;
    std::string socketName(target, static_cast<size_t>(length));
    if (!processOf(socketName)) return std::nullopt;
    return socketName;
}

std::string Registry::newSocketName() {
    // Process numbers are reused, but not together with the time.
    const auto now = std::chrono::system_clock::now().time_since_epoch().count();
    return kSocketPrefix + std::to_string(getpid()) + "-" + std::to_string(pidNamespace()) + "-" +
           std::to_string(now);
}

std::optional<int> Registry::processOf(const std::string& socketName) {
    const size_t prefix = std::strlen(kSocketPrefix);
    if (socketName.compare(0, prefix, kSocketPrefix) != 0 ||
        socketName.find('/') != std::string::npos) {
        return std::nullopt;
    }
    std::string_view rest = std::string_view(socketName).substr(prefix);
    int process = 0;
    ino_t space = 0;
    if (!takeNumber(&rest, &process) || process <= 0 || !takeNumber(&rest, &space)) {
        return std::nullopt;
    }
    return space == pidNamespace() ? process : kForeignProcess;
}

int Registry::bind(const unique_fd& socket, const std::string& socketName) {
    // Bound under a temporary name: removeDeadSockets() would remove a socket that does not listen
    // yet.
    const std::string newName = "new" + (kSeparator + socketName);
    const std::optional<sockaddr_un> address = addressOf(newName);
    if (!address) return -ENAMETOOLONG;
    if (::bind(socket.get(), reinterpret_cast<const sockaddr*>(&*address), sizeof(*address)) != 0 ||
        renameat(directory_.get(), newName.c_str(), directory_.get(), socketName.c_str()) != 0) {
        return -errno;
    }
    return 0;
}

void Registry::removeDeadSockets() {
    // Opens the directory again: closedir() closes the descriptor, and readdir() moves its
    // position.
    const int fd = openat(directory_.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(fd < 0 ? nullptr : fdopendir(fd), closedir);
    // A socket of the wrong type: a live listener refuses it without noticing, and not with
    // ECONNREFUSED.
    const unique_fd probe(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (stream == nullptr || !probe.ok()) return;
    while (const dirent* entry = readdir(stream.get())) {
        const std::string name = entry->d_name;
        const std::optional<sockaddr_un> address = addressOf(name);
        if (!processOf(name) || !address) continue;
        const bool isDead = connect(probe.get(), reinterpret_cast<const sockaddr*>(&*address),
                                    sizeof(*address)) != 0 &&
                            errno == ECONNREFUSED;
        if (isDead) removeSocket(name);
    }
}

void Registry::removeSocket(const std::string& socketName) {
    unlinkat(directory_.get(), socketName.c_str(), 0);
}

std::optional<sockaddr_un> Registry::addressOf(const std::string& socketName) const {
    const std::string path = shortPath(socketName);
    sockaddr_un address{};
    if (path.size() >= sizeof(address.sun_path)) return std::nullopt;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return address;
}

std::string Registry::shortPath(const std::string& name) const {
    return "/proc/self/fd/" + std::to_string(directory_.get()) + "/" + name;
}

bool Registry::isValidInstance(const std::string& instance) {
    constexpr size_t kMaxLength = 100;
    return !instance.empty() && instance.size() <= kMaxLength &&
           instance.find('/') == std::string::npos && instance.find('\0') == std::string::npos;
}

}  // namespace android::hardware::details
