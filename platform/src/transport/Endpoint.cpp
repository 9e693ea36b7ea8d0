// Listening, accepting, and connecting to other processes.
#define LOG_TAG "HidlTransport"

#include "transport/Endpoint.h"

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlBinderSupport.h>
#include <log/log.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "transport/PeerLog.h"
#include "transport/ServedCall.h"

namespace android::hardware::details {

namespace {

constexpr size_t kMaxConnections = 256;
// Two processes that connect to each other at the same time have two connections.
constexpr size_t kMaxConnectionsOfOneProcess = 8;
// How long a process may take to accept a connection, and to say whether it has a service.
constexpr std::chrono::seconds kConnectPatience{5};
constexpr int kListenBacklog = 64;
constexpr char kTableInterface[] = "ServiceTable";
constexpr uint32_t kGetService = 1;

unique_fd newSocket(int flags = 0) {
    return unique_fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
}

}  // namespace

// ServiceTable

void ServiceTable::set(const std::string& name, const sp<hidl::base::V1_0::IBase>& service) {
    sp<hidl::base::V1_0::IBase> previous = service;
    const MutexLock lock(mutex_);
    std::swap(services_[name], previous);
}

sp<hidl::base::V1_0::IBase> ServiceTable::get(const std::string& name) const {
    const MutexLock lock(mutex_);
    const auto found = services_.find(name);
    return found == services_.end() ? nullptr : found->second;
}

status_t ServiceTable::ask(Connection& peer, const std::string& name, sp<IBinder>* service) {
    Parcel data;
    Parcel reply;
    data.writeInterfaceToken(kTableInterface);
    data.writeCString(name.c_str());
    const status_t status = peer.call(ObjectTable::kRootId, kGetService, data, &reply, 0,
                                      Connection::Clock::now() + kConnectPatience);
    return status == OK ? reply.readNullableStrongBinder(service) : status;
}

status_t ServiceTable::onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                  uint32_t /* flags */, TransactCallback /* callback */) {
    if (!data.enforceInterface(kTableInterface)) return BAD_TYPE;
    if (code != kGetService) return UNKNOWN_TRANSACTION;
    if (Endpoint::self().isSpare(ServedCall::current()->connection())) return ALREADY_EXISTS;
    const char* name = data.readCString();
    if (name == nullptr) return BAD_VALUE;
    return reply->writeStrongBinder(toBinder(get(name)));
}

// Endpoint

Endpoint& Endpoint::self() {
    static auto* const endpoint = new std::shared_ptr<Endpoint>(new Endpoint);
    return **endpoint;
}

Endpoint::Endpoint() : services_(new ServiceTable) {}

std::string Endpoint::socketName() const {
    const MutexLock lock(mutex_);
    return socketName_;
}

status_t Endpoint::listen() {
    if (ThreadPool::isInherited()) return INVALID_OPERATION;
    if (!socketName().empty()) return OK;
    std::optional<Registry> registry = Registry::open(Registry::Mode::kCreate);
    if (!registry) return PERMISSION_DENIED;
    status_t status = OK;
    {
        const MutexLock lock(mutex_);
        if (!listener_.ok()) status = listenLocked(*registry);
    }
    if (status != OK) ALOGE("cannot open the process's socket: %s", std::strerror(-status));
    return status;
}

status_t Endpoint::listenLocked(Registry& registry) {
    registry.removeDeadSockets();
    std::string name = Registry::newSocketName();
    unique_fd listener = newSocket(SOCK_NONBLOCK);
    if (!listener.ok()) return -errno;
    const int bound = registry.bind(listener, name);
    if (bound != OK) return bound;
    if (::listen(listener.get(), kListenBacklog) != 0) return -errno;
    const uint64_t watchName = ThreadPool::self().add(listener.get(), weak_from_this());
    if (watchName == 0) {
        registry.removeSocket(name);
        return NO_MEMORY;
    }
    socketName_ = std::move(name);
    listener_ = std::move(listener);
    watchName_ = watchName;
    std::atexit([] {
        const std::string socket = self().socketName();
        // A forked child must not remove its parent's socket.
        if (Registry::processOf(socket) != getpid()) return;
        if (auto own = Registry::open(Registry::Mode::kLookUp)) own->removeSocket(socket);
    });
    ThreadPool::self().watchOnce(listener_.get(), watchName_);
    ThreadPool::self().keepReserve();
    return OK;
}

void Endpoint::onReadable(bool /* isAtEnd */, bool /* mayServe */) {
    int listener = -1;
    uint64_t watchName = 0;
    {
        const MutexLock lock(mutex_);
        listener = listener_.get();
        watchName = watchName_;
    }
    const auto watchOn = [=] { ThreadPool::self().watchOnce(listener, watchName); };
    unique_fd socket(accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
    const bool isShort =
        !socket.ok() && (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM);
    if (socket.ok()) start(std::move(socket), "");
    if (isShort) {
        // Accepts again later, when connections may have ended and freed descriptors.
        ThreadPool::self().postLater(watchOn);
    } else {
        watchOn();
    }
}

std::shared_ptr<Connection> Endpoint::findLocked(const std::string& socketName, int process) const {
    const auto known =
        std::find_if(connections_.begin(), connections_.end(), [&](const Entry& entry) {
            return !entry.isSpare && entry.connection->isAlive() &&
                   (process == Registry::kForeignProcess ? entry.socketName == socketName
                                                         : entry.connection->peer().pid == process);
        });
    return known == connections_.end() ? nullptr : known->connection;
}

bool Endpoint::hasRoomForLocked(int process) {
    size_t alive = 0;
    size_t ofSameProcess = 0;
    for (const auto& [connection, name, isSpare] : connections_) {
        if (!connection->isAlive()) continue;
        ++alive;
        if (connection->peer().pid == process) ++ofSameProcess;
    }
    return alive < kMaxConnections && ofSameProcess < kMaxConnectionsOfOneProcess;
}

std::shared_ptr<Connection> Endpoint::start(unique_fd socket, const std::string& socketName) {
    ucred peer{};
    socklen_t size = sizeof(peer);
    if (getsockopt(socket.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return nullptr;
    if (peer.uid != geteuid()) {
        logOfPeer("refused process %d of user %u", peer.pid, peer.uid);
        return nullptr;
    }
    bool isNews = false;
    bool hasRoom = false;
    {
        const MutexLock lock(mutex_);
        hasRoom = hasRoomForLocked(peer.pid);
        if (!hasRoom) {
            // A process that inherited or received a peer's socket keeps it open after the peer's
            // death, so close connections whose peer does not exist any more.
            for (const auto& [connection, name, isSpare] : connections_) {
                if (kill(connection->peer().pid, 0) != 0 && errno == ESRCH) connection->close();
            }
            hasRoom = hasRoomForLocked(peer.pid);
        }
        if (hasRoom) {
            auto connection = Connection::start(std::move(socket), peer, services_, *this);
            if (connection != nullptr) {
                const bool isSecond = connecting_.count(peer.pid) != 0 && getpid() < peer.pid;
                connections_.push_back({connection, socketName, !socketName.empty() || isSecond});
                changed_.notify_all();
                return connection;
            }
        }
        // Logs only the first of successive attempts of one process.
        isNews = std::exchange(lastRefused_, peer.pid) != peer.pid;
    }
    if (isNews) {
        logOfPeer("refused process %d: %s", peer.pid,
                  hasRoom ? "no HIDL thread can wait for it" : "there are too many connections");
    }
    return nullptr;
}

bool Endpoint::isSpare(const Connection* connection) const {
    const MutexLock lock(mutex_);
    return std::any_of(connections_.begin(), connections_.end(), [=](const Entry& entry) {
        return entry.connection.get() == connection && entry.isSpare;
    });
}

void Endpoint::sendReleases() {
    std::vector<std::shared_ptr<Connection>> connections;
    {
        const MutexLock lock(mutex_);
        for (const Entry& entry : connections_) connections.push_back(entry.connection);
    }
    for (const auto& connection : connections) connection->sendReleases();
}

void Endpoint::onEnd(const Connection* connection) {
    const MutexLock lock(mutex_);
    connections_.remove_if(
        [&](const Entry& known) { return known.connection.get() == connection; });
}

void Endpoint::onTooManyDescriptors() {
    while (const auto greediest = findGreediest()) {
        greediest->drop("its process has sent more descriptors than can be kept");
    }
}

std::shared_ptr<Connection> Endpoint::findGreediest() const {
    const MutexLock lock(mutex_);
    size_t all = 0;
    std::map<pid_t, size_t> ofProcesses;
    for (const auto& [connection, name, isSpare] : connections_) {
        // The descriptors of a dropped connection are being closed already.
        if (!connection->isAlive()) continue;
        all += connection->descriptorsWaiting();
        ofProcesses[connection->peer().pid] += connection->descriptorsWaiting();
    }
    if (!DescriptorClaim::areTooMany(all)) return nullptr;
    const auto claims = [&](const Entry& entry) {
        const Connection& connection = *entry.connection;
        return connection.isAlive() ? std::make_pair(ofProcesses[connection.peer().pid],
                                                     connection.descriptorsWaiting())
                                    : std::pair<size_t, size_t>();
    };
    return std::max_element(connections_.begin(), connections_.end(),
                            [&](const Entry& a, const Entry& b) { return claims(a) < claims(b); })
        ->connection;
}

std::shared_ptr<Connection> Endpoint::connect(const Registry& registry,
                                              const std::string& socketName) {
    const std::optional<sockaddr_un> address = registry.addressOf(socketName);
    unique_fd socket = newSocket();
    if (!address || !socket.ok()) return nullptr;
    const timeval patience{kConnectPatience.count(), 0};
    setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof(patience));
    if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&*address), sizeof(*address)) !=
        0) {
        if (errno == EAGAIN) ALOGE("%s does not accept connections", socketName.c_str());
        return nullptr;
    }
    return start(std::move(socket), socketName);
}

status_t Endpoint::ask(const Registry& registry, const std::string& socketName,
                       const std::string& name, sp<IBinder>* service) {
    const std::optional<int> process = Registry::processOf(socketName);
    if (!process || ThreadPool::isInherited()) return NAME_NOT_FOUND;
    const auto deadline = Connection::Clock::now() + kConnectPatience;
    std::shared_ptr<Connection> known;
    {
        const MutexLock lock(mutex_);
        // Only one thread at a time connects to the same process.
        while (connecting_.count(*process) != 0) {
            if (Connection::Clock::now() >= deadline) return TIMED_OUT;
            mutex_.wait(changed_, deadline);
        }
        known = findLocked(socketName, *process);
        if (known == nullptr) connecting_.insert(*process);
    }
    if (known != nullptr) return ServiceTable::ask(*known, name, service);

    const std::shared_ptr<Connection> own = connect(registry, socketName);
    const status_t status =
        own == nullptr ? NAME_NOT_FOUND : ServiceTable::ask(*own, name, service);
    {
        const MutexLock lock(mutex_);
        connecting_.erase(*process);
        changed_.notify_all();
        // ALREADY_EXISTS says that the other process is connecting to this one, too; then wait for
        // its connection. If that has been accepted already, it is the one to use.
        while ((known = findLocked(socketName, *process)) == nullptr && status == ALREADY_EXISTS &&
               Connection::Clock::now() < deadline) {
            mutex_.wait(changed_, deadline);
        }
        if (known == nullptr && status != ALREADY_EXISTS) {
            for (Entry& entry : connections_) entry.isSpare &= entry.connection != own;
            return status;
        }
    }
    if (own != nullptr) own->close();
    return known == nullptr ? TIMED_OUT : ServiceTable::ask(*known, name, service);
}

}  // namespace android::hardware::details
