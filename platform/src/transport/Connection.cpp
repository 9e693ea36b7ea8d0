// See Connection.h.
#define LOG_TAG "HidlTransport"

#include "transport/Connection.h"

#include <log/log.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "transport/ServedCall.h"

namespace android::hardware::details {

namespace {

// What a peer may have waiting here or hold; a peer that takes more is broken.
constexpr size_t kMaxBacklogCalls = 128;  // each may take a thread
constexpr size_t kMaxBacklogOneWayCalls = 1024;
constexpr size_t kMaxBacklogBytes = size_t{16} << 20;
constexpr size_t kMaxExports = 4096;
constexpr size_t kMaxImports = 4096;
constexpr char kTooManyDescriptors[] = "its process has sent more descriptors than can be kept";

// How long a message may wait for a peer that does not read.
constexpr int kSendTimeoutMs = 10'000;

void awaitReadable(int socket, Connection::Clock::time_point deadline) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - Connection::Clock::now());
    pollfd waiting{socket, POLLIN, 0};
    poll(&waiting, 1, std::max(0, static_cast<int>(left.count())));
}

}  // namespace

std::shared_ptr<Connection> Connection::start(unique_fd socket, const ucred& peer,
                                              std::shared_ptr<DescriptorAccount> account,
                                              const sp<BHwBinder>& root,
                                              std::function<void(const Connection*)> onEnd) {
    std::shared_ptr<Connection> connection(
        new Connection(std::move(socket), peer, std::move(account), root, std::move(onEnd)));
    connection->watchName_ = ThreadPool::self().add(connection->socket_.get(), connection);
    if (connection->watchName_ == 0) return nullptr;
    const std::lock_guard lock(connection->mutex_);
    connection->letAnotherReadLocked();
    return connection;
}

Connection::Connection(unique_fd socket, const ucred& peer,
                       std::shared_ptr<DescriptorAccount> account, const sp<BHwBinder>& root,
                       std::function<void(const Connection*)> onEnd)
    : peer_(peer),
      account_(std::move(account)),
      onEnd_(std::move(onEnd)),
      readersClaim_(account_),
      socket_(std::move(socket)) {
    exports_[kRootObjectId].object = root;
}

// Calling

status_t Connection::call(uint64_t objectId, uint32_t code, const Parcel& data, Parcel* reply,
                          uint32_t flags, Clock::time_point deadline) {
    FrameHeader header;
    header.kind = FrameKind::kTransaction;
    header.objectId = objectId;
    header.code = code;
    header.flags = flags;
    if ((flags & IBinder::FLAG_ONEWAY) != 0) return send(header, data);

    header.parentCallId = ServedCall::waitingCallOn(this);
    PendingCall call;
    call.reply = reply;
    {
        const std::lock_guard lock(mutex_);
        if (!alive_) return DEAD_OBJECT;
        header.callId = ++lastCallId_;
        pendingCalls_[header.callId] = &call;
        // Before the call is sent: its reply is not to wake a thread of the pool.
        call.isReading = startReadingLocked();
    }
    status_t status = send(header, data, &call);

    std::unique_lock lock(mutex_);
    if (status == OK) status = awaitReply(call, deadline, lock);
    pendingCalls_.erase(header.callId);
    if (status == TIMED_OUT && !call.isDone) abandonedCalls_.insert(header.callId);
    stopReadingLocked(call);
    return status;
}

status_t Connection::awaitReply(PendingCall& call, Clock::time_point deadline,
                                std::unique_lock<std::mutex>& lock) {
    const bool isBounded = deadline != Clock::time_point::max();
    while (true) {
        if (!call.nested.empty()) {
            TransactionPointer nested = std::move(call.nested.front());
            call.nested.erase(call.nested.begin());
            stopReadingLocked(call);
            lock.unlock();
            serveNow(*nested);
            nested.reset();
            lock.lock();
        } else if (call.isDone) {
            return call.status;
        } else if (isBounded && Clock::now() >= deadline) {
            return TIMED_OUT;
        } else if (call.isReading || startReadingLocked()) {
            call.isReading = true;
            lock.unlock();
            if (isBounded) awaitReadable(socket_.get(), deadline);
            readMessages(isBounded ? MSG_DONTWAIT : 0, nullptr);
            lock.lock();
        } else {
            call.isAsleep = true;
            if (isBounded) {
                call.changed.wait_until(lock, deadline);
            } else {
                call.changed.wait(lock);
            }
            call.isAsleep = false;
        }
    }
}

status_t Connection::send(FrameHeader header, const Parcel& parcel, PendingCall* call) {
    if (parcel.writeError() != OK) return parcel.writeError();
    if (parcel.items().size() > kMaxItemBytes || parcel.objects().size() > kMaxObjects ||
        parcel.descriptors().size() > kMaxDescriptors) {
        ALOGE(
            "a call's arguments or results are too large: %zu bytes, %zu objects, "
            "%zu descriptors",
            parcel.items().size(), parcel.objects().size(), parcel.descriptors().size());
        return FAILED_TRANSACTION;
    }
    std::vector<ObjectReference> objects;
    std::vector<FrameHeader> releases;
    {
        const std::lock_guard lock(mutex_);
        const status_t status = exportLocked(parcel, &objects);
        if (status != OK) return status;
        releases.swap(releases_);
    }
    header.itemBytes = static_cast<uint32_t>(parcel.items().size());
    header.objectCount = static_cast<uint32_t>(objects.size());
    header.descriptorCount = static_cast<uint32_t>(parcel.descriptors().size());
    return sendNow(header, parcel, objects, releases, call) ? OK : DEAD_OBJECT;
}

status_t Connection::exportLocked(const Parcel& parcel, std::vector<ObjectReference>* references) {
    if (!alive_) return DEAD_OBJECT;
    for (const sp<IBinder>& object : parcel.objects()) {
        const BpHwBinder* proxy = object->remoteBinder();
        if (proxy != nullptr && proxy->connection().get() != this) {
            ALOGE("an object of process %d cannot be passed on to process %d",
                  proxy->connection()->peer().pid, peer_.pid);
            return INVALID_OPERATION;
        }
    }
    for (const sp<IBinder>& object : parcel.objects()) {
        if (const BpHwBinder* proxy = object->remoteBinder()) {
            references->push_back({proxy->objectId(), ObjectOwner::kReceiver});
            continue;
        }
        BHwBinder* const local = object->localBinder();
        const auto [known, isNew] = exportIds_.try_emplace(local, lastObjectId_ + 1);
        if (isNew) exports_[++lastObjectId_].object = local;
        ++exports_[known->second].referencesSent;
        references->push_back({known->second, ObjectOwner::kSender});
    }
    return OK;
}

bool Connection::sendNow(const FrameHeader& header, const Parcel& parcel,
                         const std::vector<ObjectReference>& objects,
                         const std::vector<FrameHeader>& releases, PendingCall* call) {
    // The peer may wait for us to read before it reads.
    const auto letAnotherRead = [this, call] {
        if (call == nullptr) return;
        const std::lock_guard lock(mutex_);
        stopReadingLocked(*call);
    };
    std::unique_lock sendLock(sendMutex_, std::try_to_lock);
    if (!sendLock.owns_lock()) {
        letAnotherRead();
        sendLock.lock();
    }
    if (!alive_) return false;
    FrameWriter writer(header, parcel.items(), objects, parcel.descriptors(), releases);
    int error = writer.writeSome(socket_.get());
    if (error == EAGAIN) {
        letAnotherRead();
        error = writer.writeRest(socket_.get(), kSendTimeoutMs);
    }
    if (error == 0) return true;
    const bool peerIsGone = error == EPIPE || error == ECONNRESET;
    return drop(peerIsGone ? nullptr
                           : (error == ETIMEDOUT ? "it does not read what is sent to it"
                                                 : "a message cannot be sent to it"));
}

// Serving

void Connection::serve(const TransactionPointer& transaction) {
    if (transaction->isOneWay()) {
        serveOneWayCalls();
    } else {
        serveNow(*transaction);
    }
}

void Connection::serveNow(const Transaction& transaction) {
    if (alive_) {
        const FrameHeader& header = transaction.header;
        ServedCall served(this, header.callId, peer_);
        bool isAnswered = transaction.isOneWay();
        const auto answerOnce = [&](status_t status, const Parcel& reply) {
            if (std::exchange(isAnswered, true)) return;
            served.answered();
            answer(header.callId, status, reply);
        };
        Parcel reply;
        const status_t status =
            transaction.target->transact(header.code, transaction.data, &reply, header.flags,
                                         [&](Parcel& results) { answerOnce(OK, results); });
        answerOnce(status, reply);
    }
    const std::lock_guard lock(mutex_);
    backlog_.remove(transaction);
}

void Connection::answer(uint64_t callId, status_t status, const Parcel& reply) {
    FrameHeader header;
    header.kind = FrameKind::kReply;
    header.callId = callId;
    if (status == OK) status = send(header, reply);
    if (status == OK || status == DEAD_OBJECT) return;
    header.status = status;
    sendNow(header, {}, {}, {}, nullptr);
}

void Connection::serveOneWayCalls() {
    while (true) {
        TransactionPointer transaction;
        {
            const std::lock_guard lock(mutex_);
            if (oneWayCalls_.empty()) {
                isServingOneWayCalls_ = false;
                return;
            }
            transaction = std::move(oneWayCalls_.front());
            oneWayCalls_.pop_front();
        }
        serveNow(*transaction);
    }
}

// Proxies

sp<BpHwBinder> Connection::proxyOfLocked(uint64_t objectId) {
    Import& import = imports_[objectId];
    sp<BpHwBinder> proxy = import.proxy.promote();
    if (proxy == nullptr) {
        // A proxy that is just being destroyed gives back its own count; this one starts anew.
        proxy = new BpHwBinder(shared_from_this(), objectId);
        import = {proxy.get(), proxy};
    }
    return proxy;
}

void Connection::releaseProxy(BpHwBinder* proxy) {
    FrameHeader header;
    header.kind = FrameKind::kRelease;
    header.objectId = proxy->objectId();
    const std::lock_guard lock(mutex_);
    header.references = proxy->referencesReceived_;
    const auto import = imports_.find(proxy->objectId());
    if (import != imports_.end() && import->second.address == proxy) imports_.erase(import);
    if (header.references == 0 || !alive_) return;
    releases_.push_back(header);
    if (!std::exchange(isReleasingLater_, true)) {
        ThreadPool::self().postLater([weak = weak_from_this()] {
            if (const auto self = weak.lock()) self->sendReleases();
        });
    }
}

void Connection::sendReleases() {
    std::vector<FrameHeader> releases;
    {
        const std::lock_guard lock(mutex_);
        isReleasingLater_ = false;
        releases.swap(releases_);
    }
    if (releases.empty()) return;
    const FrameHeader last = releases.back();
    releases.pop_back();
    sendNow(last, {}, {}, releases, nullptr);
}

// Reading

bool Connection::startReadingLocked() {
    if (isBeingRead_) return false;
    isBeingRead_ = true;
    ignoreLocked();
    return true;
}

void Connection::ignoreLocked() {
    if (std::exchange(isWatched_, false)) ThreadPool::self().ignore(socket_.get(), watchName_);
}

void Connection::stopReadingLocked(PendingCall& call) {
    if (std::exchange(call.isReading, false)) letAnotherReadLocked();
}

void Connection::letAnotherReadLocked() {
    if (!socket_.ok()) return;  // the connection has ended
    for (const auto& [callId, call] : pendingCalls_) {
        if (!call->isAsleep || call->isDone) continue;
        call->isReading = true;
        ignoreLocked();
        call->changed.notify_one();
        return;
    }
    isBeingRead_ = false;
    // Rarely after a thread of the pool has read: to watch takes a system call.
    if (isMoreToRead_ || !isWatched_) ThreadPool::self().watch(socket_.get(), watchName_);
    isMoreToRead_ = false;
    isWatched_ = true;
}

void Connection::onReadable(bool isAtEnd) {
    {
        const std::lock_guard lock(mutex_);
        if (std::exchange(isBeingRead_, true)) {
            isMoreToRead_ = true;
            return;
        }
    }
    TransactionPointer own;
    if (!readMessages(MSG_DONTWAIT, &own)) return;
    {
        const std::lock_guard lock(mutex_);
        if (isAtEnd || !reader_.isDrained()) isMoreToRead_ = true;
        letAnotherReadLocked();
    }
    if (own != nullptr) serve(own);
}

bool Connection::readMessages(int flags, TransactionPointer* own) {
    bool isAnyWhole = false;
    while (!isAnyWhole) {
        const char* problem = nullptr;
        const FrameReader::Outcome outcome = reader_.receive(socket_.get(), flags, &problem);
        if (outcome == FrameReader::Outcome::kNotYet) return true;
        const bool isOpen = outcome == FrameReader::Outcome::kDone || drop(problem);
        if (!isOpen || !dispatchReceived(&isAnyWhole, own) || !claimDescriptors()) {
            end();
            return false;
        }
    }
    return true;
}

bool Connection::claimDescriptors() {
    return readersClaim_.set(reader_.descriptorCount()) || drop(kTooManyDescriptors);
}

bool Connection::dispatchReceived(bool* isAnyWhole, TransactionPointer* own) {
    while (true) {
        Frame frame;
        const char* problem = nullptr;
        switch (reader_.next(&frame, &problem)) {
            case FrameReader::Outcome::kNotYet:
                return true;
            case FrameReader::Outcome::kEnd:
                return drop(problem);
            case FrameReader::Outcome::kDone:
                *isAnyWhole = true;
                // What was taken out is claimed by whoever has it now.
                readersClaim_.set(reader_.descriptorCount());
                if (!dispatch(&frame, own)) return false;
        }
    }
}

bool Connection::dispatch(Frame* frame, TransactionPointer* own) {
    switch (frame->header.kind) {
        case FrameKind::kTransaction:
            return dispatchTransaction(frame, own);
        case FrameKind::kReply:
            return dispatchReply(frame);
        case FrameKind::kRelease:
            return dispatchRelease(frame->header);
    }
    return false;
}

bool Connection::dispatchTransaction(Frame* frame, TransactionPointer* own) {
    const auto transaction = std::make_shared<Transaction>(account_);
    transaction->header = frame->header;
    const FrameHeader& header = transaction->header;
    const bool isOneWay = transaction->isOneWay();
    if (isOneWay != (header.callId == 0)) return drop("a call is neither one-way nor numbered");

    std::vector<sp<IBinder>> objects;
    const std::lock_guard lock(mutex_);
    if (!importLocked(*frame, &objects)) return false;
    if (!transaction->claim.set(frame->descriptors.size())) return dropLocked(kTooManyDescriptors);
    transaction->data = parcelOf(frame, std::move(objects));
    const auto target = exports_.find(header.objectId);
    if (target == exports_.end()) return dropLocked("a call is meant for no object");
    if (exports_.size() > kMaxExports) return dropLocked("it holds too many objects");
    backlog_.add(*transaction);
    if (backlog_.isTooLong()) return dropLocked("it makes more calls than can be served");
    transaction->target = target->second.object;

    const auto waiting = pendingCalls_.find(header.parentCallId);
    if (isOneWay) {
        oneWayCalls_.push_back(transaction);
        if (std::exchange(isServingOneWayCalls_, true)) return true;
    } else if (waiting != pendingCalls_.end() && !waiting->second->isDone) {
        waiting->second->nested.push_back(transaction);
        waiting->second->changed.notify_one();
        return true;
    }
    if (own != nullptr && *own == nullptr) {
        *own = transaction;
    } else {
        ThreadPool::self().post(
            [self = shared_from_this(), transaction] { self->serve(transaction); });
    }
    return true;
}

void Connection::Backlog::add(const Transaction& transaction) {
    (transaction.isOneWay() ? oneWayCalls : calls) += 1;
    bytes += transaction.header.itemBytes;
}

void Connection::Backlog::remove(const Transaction& transaction) {
    (transaction.isOneWay() ? oneWayCalls : calls) -= 1;
    bytes -= transaction.header.itemBytes;
}

bool Connection::Backlog::isTooLong() const {
    return calls > kMaxBacklogCalls || oneWayCalls > kMaxBacklogOneWayCalls ||
           bytes > kMaxBacklogBytes;
}

bool Connection::dispatchReply(Frame* frame) {
    std::vector<sp<IBinder>> objects;
    const std::lock_guard lock(mutex_);
    if (!importLocked(*frame, &objects)) return false;
    if (abandonedCalls_.erase(frame->header.callId) != 0) return true;
    const auto found = pendingCalls_.find(frame->header.callId);
    if (found == pendingCalls_.end() || found->second->isDone) {
        return dropLocked("a reply answers no call");
    }
    PendingCall& call = *found->second;
    call.status = frame->header.status;
    if (call.reply != nullptr) *call.reply = parcelOf(frame, std::move(objects));
    call.isDone = true;
    call.changed.notify_one();
    return true;
}

bool Connection::dispatchRelease(const FrameHeader& header) {
    const std::lock_guard lock(mutex_);
    const auto found = exports_.find(header.objectId);
    if (found == exports_.end() || header.references == 0 ||
        header.references > found->second.referencesSent) {
        return dropLocked("it gives back references that it does not have");
    }
    found->second.referencesSent -= header.references;
    if (found->second.referencesSent > 0) return true;
    sp<BHwBinder> object = std::move(found->second.object);
    exportIds_.erase(object.get());
    exports_.erase(found);
    // The object's destructor is a program's code: it runs on a thread of the pool.
    ThreadPool::self().post([object = std::move(object)] {});
    return true;
}

bool Connection::importLocked(const Frame& frame, std::vector<sp<IBinder>>* objects) {
    for (const ObjectReference& reference : frame.objects) {
        const auto exported = exports_.find(reference.objectId);
        if (reference.owner == ObjectOwner::kReceiver && exported != exports_.end()) {
            objects->push_back(exported->second.object);
        } else if (reference.owner == ObjectOwner::kSender && reference.objectId != kRootObjectId &&
                   imports_.size() < kMaxImports) {
            const sp<BpHwBinder> proxy = proxyOfLocked(reference.objectId);
            ++proxy->referencesReceived_;
            objects->push_back(proxy);
        } else {
            return dropLocked("a message names an object that does not exist");
        }
    }
    return true;
}

Parcel Connection::parcelOf(Frame* frame, std::vector<sp<IBinder>> objects) {
    return Parcel(std::move(frame->items), std::move(objects), std::move(frame->descriptors),
                  [weak = weak_from_this()] {
                      if (const auto self = weak.lock()) {
                          self->drop("a message does not contain what it should");
                      }
                  });
}

// The end

bool Connection::drop(const char* reason) {
    const std::lock_guard lock(mutex_);
    return dropLocked(reason);
}

bool Connection::dropLocked(const char* reason) {
    alive_ = false;
    if (socket_.ok()) shutdown(socket_.get(), SHUT_RDWR);
    if (reason != nullptr && !std::exchange(isDropLogged_, true)) {
        ALOGE("dropped process %d: %s", peer_.pid, reason);
    }
    return false;
}

void Connection::end() {
    onEnd_(this);
    // Proxies may keep this object for long.
    reader_ = {};
    readersClaim_.set(0);

    struct Remains {
        std::map<uint64_t, Export> exports;
        std::deque<TransactionPointer> calls;
        std::vector<sp<BpHwBinder>> proxies;
    };
    const auto remains = std::make_shared<Remains>();
    {
        const std::lock_guard sendLock(sendMutex_);
        const std::lock_guard lock(mutex_);
        ThreadPool::self().remove(socket_.get(), watchName_);
        socket_.reset();
        remains->exports = std::move(exports_);
        exports_.clear();
        exportIds_.clear();
        remains->calls = std::move(oneWayCalls_);
        oneWayCalls_.clear();
        for (const auto& [objectId, import] : imports_) {
            sp<BpHwBinder> proxy = import.proxy.promote();
            if (proxy != nullptr) remains->proxies.push_back(std::move(proxy));
        }
        for (const auto& [callId, call] : pendingCalls_) {
            for (TransactionPointer& nested : call->nested) remains->calls.push_back(nested);
            call->nested.clear();
            if (!std::exchange(call->isDone, true)) call->status = DEAD_OBJECT;
            call->changed.notify_one();
        }
    }
    // Both the destructors and the recipients are code of programs.
    ThreadPool::self().post([remains] {
        remains->calls.clear();
        remains->exports.clear();
        for (const sp<BpHwBinder>& proxy : remains->proxies) proxy->sendObituary();
    });
}

}  // namespace android::hardware::details
