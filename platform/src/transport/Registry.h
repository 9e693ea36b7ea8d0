// The services of a user, registered as files of one directory.
#pragma once

#include <android-base/unique_fd.h>
#include <sys/un.h>

#include <optional>
#include <string>
#include <utility>

namespace android::hardware::details {

using base::unique_fd;

/**
 * A service is a symbolic link "<interface>=<instance>" to its process's socket in the same
 * directory. If the socket does not exist or does not accept connections, there is no such service.
 *
 * The directory is $MORIAK_HIDL_RUNTIME_DIR, else $XDG_RUNTIME_DIR/moriak-hidl, else
 * /tmp/moriak-hidl-<uid>. It is used only if it belongs to this user and no other user has access.
 *
 * Threading: an object is used by one thread at a time; any number of objects and
 * processes may use one directory at once.
 */
class Registry {
  public:
    enum class Mode { kLookUp, kCreate };

    /** Opens the directory. Empty if it does not exist or is not safe to use. */
    static std::optional<Registry> open(Mode mode);

    /** @return OK or -errno */
    int publish(const std::string& interfaceName, const std::string& instance,
                const std::string& socketName);

    /** Name of the socket of the service's process. */
    std::optional<std::string> find(const std::string& interfaceName,
                                    const std::string& instance) const;

    /** A name for this process's socket that no other process has used. */
    static std::string newSocketName();
    /** Result of processOf() for a process of another PID namespace. */
    static constexpr int kForeignProcess = 0;
    /**
     * Number of the process that owns a socket of that name; empty if it is not the name of a
     * socket.
     */
    static std::optional<int> processOf(const std::string& socketName);

    /** Binds the socket to its name. @return OK or -errno */
    int bind(const unique_fd& socket, const std::string& socketName);
    /** Address of a socket in the directory; empty if the path is too long. */
    std::optional<sockaddr_un> addressOf(const std::string& socketName) const;

    /** Removes the sockets of processes that ended without removing them. */
    void removeDeadSockets();
    void removeSocket(const std::string& socketName);

    /**
     * Path to a file of the directory through /proc/self/fd, short enough for a socket's address.
     */
    std::string shortPath(const std::string& name) const;

    static bool isValidInstance(const std::string& instance);

  private:
    explicit Registry(unique_fd directory) : directory_(std::move(directory)) {}

    unique_fd directory_;
};

}  // namespace android::hardware::details
