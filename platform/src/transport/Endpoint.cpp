// See Endpoint.h.
#define LOG_TAG "HidlTransport"

#include "transport/Endpoint.h"

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlBinderSupport.h>
#include <log/log.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <utility>

namespace android::hardware::details {

namespace {

constexpr size_t kMaxConnections = 256;
// Two processes that find each other at the same time have two; ended ones may not be forgotten.
constexpr size_t kMaxConnectionsOfOneProcess = 16;
// How long a process may take to accept a connection, and to say whether it has a service.
constexpr std::chrono::seconds kPatience{5};
constexpr int kListenBacklog = 64;
constexpr char kTableInterface[] = "ServiceTable";
constexpr uint32_t kGetService = 1;

unique_fd newSocket(int flags = 0) {
    return unique_fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
}

std::optional<sockaddr_un> addressOf(const Registry& registry, const std::string& socketName) {
    const std::string path = registry.shortPath(socketName);
    sockaddr_un address{};
    if (path.size() >= sizeof(address.sun_path)) return std::nullopt;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return address;
}

}  // namespace

// ServiceTable

void ServiceTable::set(const std::string& name, const sp<hidl::base::V1_0::IBase>& service) {
    sp<hidl::base::V1_0::IBase> previous = service;
    const std::lock_guard lock(mutex_);
    std::swap(services_[name], previous);
}

sp<hidl::base::V1_0::IBase> ServiceTable::get(const std::string& name) const {
    const std::lock_guard lock(mutex_);
    const auto found = services_.find(name);
    return found == services_.end() ? nullptr : found->second;
}

status_t ServiceTable::ask(Connection& peer, const std::string& name, sp<IBinder>* service) {
    Parcel data;
    Parcel reply;
    data.writeInterfaceToken(kTableInterface);
    data.writeCString(name.c_str());
    const status_t status = peer.call(Connection::kRootObjectId, kGetService, data, &reply, 0,
                                      Connection::Clock::now() + kPatience);
    return status == OK ? reply.readNullableStrongBinder(service) : status;
}

status_t ServiceTable::onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                  uint32_t /* flags */, TransactCallback /* callback */) {
    if (!data.enforceInterface(kTableInterface)) return BAD_TYPE;
    if (code != kGetService) return UNKNOWN_TRANSACTION;
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
    const std::lock_guard lock(mutex_);
    return socketName_;
}

status_t Endpoint::listen() {
    const std::lock_guard lock(mutex_);
    if (listener_.ok()) return OK;
    std::optional<Registry> registry = Registry::open(Registry::Mode::kCreate);
    if (!registry) return PERMISSION_DENIED;
    registry->removeDeadSockets();

    std::string name = Registry::newSocketName();
    const std::optional<sockaddr_un> address = addressOf(*registry, name);
    unique_fd listener = newSocket(SOCK_NONBLOCK);
    if (!address || !listener.ok() ||
        bind(listener.get(), reinterpret_cast<const sockaddr*>(&*address), sizeof(*address)) != 0 ||
        ::listen(listener.get(), kListenBacklog) != 0) {
        const int error = errno;
        ALOGE("cannot open the process's socket: %s", std::strerror(error));
        return -error;
    }
    socketName_ = std::move(name);
    listener_ = std::move(listener);
    std::atexit([] {
        const std::string socket = self().socketName();
        // A child process that was forked off must not remove its parent's.
        if (Registry::processOf(socket) != getpid()) return;
        if (auto own = Registry::open(Registry::Mode::kLookUp)) own->removeSocket(socket);
    });
    watchName_ = ThreadPool::self().add(listener_.get(), weak_from_this());
    if (watchName_ == 0) return NO_MEMORY;
    ThreadPool::self().watchOnce(listener_.get(), watchName_);
    return OK;
}

void Endpoint::onReadable(bool /* isAtEnd */) {
    unique_fd socket(accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (socket.ok()) {
        const std::lock_guard lock(mutex_);
        startLocked(std::move(socket));
    } else if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
        // Gives the connections some time to end.
        poll(nullptr, 0, 100);
    }
    ThreadPool::self().watchOnce(listener_.get(), watchName_);
}

std::shared_ptr<Connection> Endpoint::findLocked(int process) const {
    const auto known =
        std::find_if(connections_.begin(), connections_.end(), [process](const auto& connection) {
            return connection->isAlive() && connection->peer().pid == process;
        });
    return known == connections_.end() ? nullptr : *known;
}

std::shared_ptr<Connection> Endpoint::startLocked(unique_fd socket) {
    ucred peer{};
    socklen_t size = sizeof(peer);
    if (getsockopt(socket.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return nullptr;
    if (peer.uid != geteuid()) {
        ALOGE("refused process %d of user %u", peer.pid, peer.uid);
        return nullptr;
    }
    size_t ofSameProcess = 0;
    std::shared_ptr<DescriptorAccount> account;
    for (const std::shared_ptr<Connection>& connection : connections_) {
        if (connection->peer().pid != peer.pid) continue;
        ++ofSameProcess;
        account = connection->account();
    }
    if (connections_.size() >= kMaxConnections || ofSameProcess >= kMaxConnectionsOfOneProcess) {
        // Once for all that one process tries in a row.
        if (std::exchange(lastRefused_, peer.pid) != peer.pid) {
            ALOGE("refused process %d: there are too many connections", peer.pid);
        }
        return nullptr;
    }
    if (account == nullptr) account = std::make_shared<DescriptorAccount>();
    auto connection = Connection::start(std::move(socket), peer, std::move(account), services_,
                                        [this](const Connection* ended) { forget(ended); });
    if (connection != nullptr) connections_.push_back(connection);
    return connection;
}

void Endpoint::forget(const Connection* connection) {
    const std::lock_guard lock(mutex_);
    connections_.remove_if([&](const auto& known) { return known.get() == connection; });
}

std::shared_ptr<Connection> Endpoint::connectTo(const Registry& registry,
                                                const std::string& socketName) {
    const std::optional<int> process = Registry::processOf(socketName);
    const std::optional<sockaddr_un> address = addressOf(registry, socketName);
    if (!process || !address) return nullptr;

    {
        const std::lock_guard lock(mutex_);
        if (std::shared_ptr<Connection> known = findLocked(*process)) return known;
    }
    // Without the lock, for this may take a while.
    unique_fd socket = newSocket();
    const timeval patience{kPatience.count(), 0};
    setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof(patience));
    if (!socket.ok() || connect(socket.get(), reinterpret_cast<const sockaddr*>(&*address),
                                sizeof(*address)) != 0) {
        if (errno == EAGAIN) ALOGE("process %d does not accept connections", *process);
        return nullptr;
    }
    const std::lock_guard lock(mutex_);
    if (std::shared_ptr<Connection> known = findLocked(*process)) return known;
    return startLocked(std::move(socket));
}

}  // namespace android::hardware::details
