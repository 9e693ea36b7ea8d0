// Calling, sending, serving, receiving and ending, in this order.
#define LOG_TAG "HidlTransport"

#include "transport/Connection.h"

#include <log/log.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <deque>
#include <utility>
#include <vector>

#include "transport/BrokenPeer.h"
#include "transport/PeerLog.h"
#include "transport/ServedCall.h"

namespace android::hardware::details {

namespace {

// How long a message waits for a peer that does not read, and how long a one-way call waits for
// room in the window.
constexpr std::chrono::seconds kPatience{10};
// Each nested call occupies stack of one thread in both processes.
constexpr size_t kMaxNestedCalls = 128;

void awaitReadable(int socket, Connection::Clock::time_point deadline) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - Connection::Clock::now());
    pollfd waiting{socket, POLLIN, 0};
    poll(&waiting, 1, std::max(0, static_cast<int>(left.count())));
}

/** A message that consists of a header only. */
FrameHeader headerOf(FrameKind kind) {
    FrameHeader header;
    header.kind = kind;
    return header;
}

}  // namespace

std::shared_ptr<Connection> Connection::start(unique_fd socket, const ucred& peer,
                                              const sp<BHwBinder>& root, Owner& owner) {
    const std::shared_ptr<Connection> connection(
        new Connection(std::move(socket), peer, root, owner));
    const int fd = connection->socket_.get();
    const uint64_t watchName = ThreadPool::self().add(fd, connection);
    if (watchName == 0) return nullptr;
    const MutexLock lock(connection->mutex_);
    connection->role_.begin(fd, watchName);
    return connection;
}

Connection::Connection(unique_fd socket, const ucred& peer, const sp<BHwBinder>& root, Owner& owner)
    : peer_(peer), owner_(owner), objects_(root), socket_(std::move(socket)) {}

// Calling

status_t Connection::call(uint64_t objectId, uint32_t code, const Parcel& data, Parcel* reply,
                          uint32_t flags, Clock::time_point deadline) {
    if (ThreadPool::isInherited()) return DEAD_OBJECT;
    FrameHeader header = headerOf(FrameKind::kTransaction);
    header.objectId = objectId;
    header.code = code;
    header.flags = flags;
    header.itemBytes = static_cast<uint32_t>(data.items().size());
    header.descriptorCount = static_cast<uint32_t>(data.descriptors().size());
    if ((flags & IBinder::FLAG_ONEWAY) != 0) return callOneWay(header, data);
    if (ServedCall::depth() >= kMaxNestedCalls) {
        logOfPeer("a call to process %d is nested too deep", peer_.pid);
        return FAILED_TRANSACTION;
    }
    header.parentCallId = ServedCall::waitingCallOn(this);
    PendingCall call;
    call.reply = reply;
    call.cost = header.parentCallId == 0 ? CallWindow::costOf(header) : 0;
    {
        const MutexLock lock(mutex_);
        const status_t status = awaitRoom(sentCalls_, call.cost, deadline);
        if (status != OK) return status;
        header.callId = ++lastCallId_;
        pendingCalls_[header.callId] = &call;
        // Taken before the call is sent, so that its reply does not wake a thread of the pool.
        role_.take(call);
    }
    status_t status = send(header, data, &call);

    const MutexLock lock(mutex_);
    if (status == OK) status = awaitReply(call, deadline);
    pendingCalls_.erase(header.callId);
    if (status == TIMED_OUT && !call.isDone) {
        abandonedCalls_[header.callId] = call.cost;
    } else {
        giveBack(sentCalls_, call.cost);
    }
    role_.pass(call);
    return status;
}

status_t Connection::callOneWay(const FrameHeader& header, const Parcel& data) {
    const size_t cost = CallWindow::costOf(header);
    status_t status = OK;
    {
        const MutexLock lock(mutex_);
        status = awaitRoom(sentOneWayCalls_, cost, Clock::now() + kPatience);
    }
    if (status == TIMED_OUT) {
        logOfPeer("process %d does not serve its one-way calls: one more is not sent", peer_.pid);
        return FAILED_TRANSACTION;
    }
    if (status == OK) status = send(header, data);
    if (status == OK || status == DEAD_OBJECT) return status;
    const MutexLock lock(mutex_);
    giveBack(sentOneWayCalls_, cost);
    return status;
}

status_t Connection::awaitRoom(CallWindow& window, size_t cost, Clock::time_point deadline) {
    while (alive_ && cost > 0 && !window.take(cost)) {
        if (deadline != Clock::time_point::max() && Clock::now() >= deadline) return TIMED_OUT;
        mutex_.wait(roomMade_, deadline);
    }
    return alive_ ? OK : DEAD_OBJECT;
}

void Connection::giveBack(CallWindow& window, size_t cost) {
    window.giveBack(cost);
    if (cost > 0) roomMade_.notify_all();
}

status_t Connection::awaitReply(PendingCall& call, Clock::time_point deadline) {
    const bool isBounded = deadline != Clock::time_point::max();
    while (true) {
        if (call.nested != nullptr) {
            TransactionPointer nested = std::move(call.nested);
            role_.pass(call);
            mutex_.unlock();
            serveOne(*nested);
            nested.reset();
            mutex_.lock();
        } else if (call.isDone) {
            return call.status;
        } else if (isBounded && Clock::now() >= deadline) {
            return TIMED_OUT;
        } else if (role_.take(call)) {
            mutex_.unlock();
            if (isBounded) awaitReadable(socket_.get(), deadline);
            postServing(readMessages(isBounded ? MSG_DONTWAIT : 0).value_or(0));
            mutex_.lock();
        } else {
            role_.sleep(call, mutex_, deadline);
        }
    }
}

// Sending

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
    const status_t status = objects_.send(parcel, *this, &objects, &releases);
    if (status != OK) return status;
    header.itemBytes = static_cast<uint32_t>(parcel.items().size());
    header.objectCount = static_cast<uint32_t>(objects.size());
    header.descriptorCount = static_cast<uint32_t>(parcel.descriptors().size());
    return sendNow(header, parcel, objects, releases, call);
}

status_t Connection::sendNow(const FrameHeader& header, const Parcel& parcel,
                             const std::vector<ObjectReference>& objects,
                             const std::vector<FrameHeader>& releases, PendingCall* call) {
    if (!sendMutex_.tryLock()) {
        // While this thread waits, another must read: the peer may not read before its own messages
        // are read.
        stopReading(call);
        sendMutex_.lock();
    }
    int error = EPIPE;
    if (alive_) {
        FrameWriter writer(header, parcel.items(), objects, parcel.descriptors(), releases);
        error = writer.writeSome(socket_.get());
        if (error == EAGAIN) {
            stopReading(call);
            error = writer.writeRest(socket_.get(), std::chrono::milliseconds(kPatience).count());
        }
    }
    sendMutex_.unlock();
    if (error == 0) return OK;
    if (error == EPIPE || error == ECONNRESET) {
        close();
    } else if (error == ETIMEDOUT) {
        drop("it does not read what is sent to it");
    } else {
        drop("a message cannot be sent to it");
    }
    return DEAD_OBJECT;
}

status_t Connection::sendHeader(const FrameHeader& header) {
    return sendNow(header, {}, {}, {}, nullptr);
}

void Connection::stopReading(PendingCall* call) {
    if (call == nullptr) return;
    const MutexLock lock(mutex_);
    role_.pass(*call);
}

// Serving

void Connection::postServing(size_t threads) {
    for (; threads > 0; --threads) {
        ThreadPool::self().post([self = shared_from_this()] { self->serve(); }, peer_.pid);
    }
}

void Connection::serve() {
    TransactionPointer transaction;
    while (true) {
        TransactionPointer next;
        {
            const MutexLock lock(mutex_);
            next = backlog_.next(transaction.get());
        }
        transaction = std::move(next);
        if (transaction == nullptr) return;
        serveOne(*transaction);
    }
}

void Connection::serveOne(const Transaction& transaction) {
    if (!alive_) return;
    const FrameHeader& header = transaction.header;
    ServedCall served(this, header.callId, peer_);
    bool isAnswered = transaction.isOneWay();
    const auto answerOnce = [&](status_t status, const Parcel& reply) {
        if (std::exchange(isAnswered, true)) return;
        served.answered();
        accountAsServed(transaction);
        answer(header.callId, status, reply);
    };
    Parcel reply;
    status_t status = NO_MEMORY;
    if (transaction.isIncomplete) {
        logOfPeer("a call of process %d brings descriptors that cannot be taken", peer_.pid);
    } else {
        status = transaction.target->transact(header.code, transaction.data, &reply, header.flags,
                                              [&](Parcel& results) { answerOnce(OK, results); });
    }
    answerOnce(status, reply);
    if (transaction.isOneWay()) accountAsServed(transaction);
}

void Connection::accountAsServed(const Transaction& transaction) {
    if (transaction.isNested) return;
    const size_t cost = CallWindow::costOf(transaction.header);
    FrameHeader header = headerOf(FrameKind::kServed);
    {
        const MutexLock lock(mutex_);
        if (!transaction.isOneWay()) {
            receivedCalls_.giveBack(cost);
            return;
        }
        receivedOneWayCalls_.giveBack(cost);
        servedOneWay_ += cost;
        if (servedOneWay_ < CallWindow::kSmallestPart) return;
        header.givenBack = std::exchange(servedOneWay_, 0);
    }
    sendHeader(header);
}

void Connection::answer(uint64_t callId, status_t status, const Parcel& reply) {
    FrameHeader header = headerOf(FrameKind::kReply);
    header.callId = callId;
    if (status == OK) status = send(header, reply);
    if (status == OK || status == DEAD_OBJECT) return;
    header.status = status;
    sendHeader(header);
}

// Releases

void Connection::releaseProxy(const BpHwBinder* proxy) {
    if (!ThreadPool::isInherited() && objects_.release(proxy)) releaseLater();
}

void Connection::releaseLater() {
    // Only one task at a time, because it may have to wait for the peer.
    if (isReleasingLater_.exchange(true)) return;
    ThreadPool::self().postLater([weak = weak_from_this()] {
        const auto self = weak.lock();
        if (self == nullptr) return;
        self->sendReleases();
        self->isReleasingLater_ = false;
        if (self->objects_.hasReleases()) self->releaseLater();
    });
}

void Connection::sendReleases() {
    std::vector<FrameHeader> releases = objects_.takeReleases();
    if (releases.empty()) return;
    const FrameHeader last = releases.back();
    releases.pop_back();
    sendNow(last, {}, {}, releases, nullptr);
}

// Reading

void Connection::onReadable(bool isAtEnd, bool mayServe) {
    {
        const MutexLock lock(mutex_);
        if (!role_.takeForPool()) return;
    }
    const std::optional<size_t> threads = readMessages(MSG_DONTWAIT);
    if (!threads) return;
    {
        const MutexLock lock(mutex_);
        role_.passFromPool(isAtEnd || !reader_.isDrained());
    }
    // This thread serves too, which saves waking another one.
    const bool serves = *threads > 0 && mayServe;
    postServing(serves ? *threads - 1 : *threads);
    if (serves) serve();
}

std::optional<size_t> Connection::readMessages(int flags) {
    size_t threads = 0;
    try {
        FrameReader::Outcome outcome = FrameReader::Outcome::kDone;
        bool isAnyWhole = false;
        bool isAnyDescriptor = false;
        while (!isAnyWhole && outcome == FrameReader::Outcome::kDone) {
            outcome = reader_.receive(socket_.get(), flags);
            readersClaim_.set(reader_.descriptorCount());
            isAnyDescriptor = isAnyDescriptor || reader_.descriptorCount() > 0;
            while (true) {
                Frame frame;
                if (!reader_.next(&frame)) break;
                isAnyWhole = true;
                // The message's descriptors are now claimed by its transaction or reply.
                readersClaim_.set(reader_.descriptorCount());
                threads += dispatch(&frame);
            }
        }
        if (isAnyDescriptor && DescriptorClaim::areTooMany()) owner_.onTooManyDescriptors();
        if (outcome != FrameReader::Outcome::kEnd) return threads;
    } catch (const BrokenPeer& broken) {
        drop(broken.what());
    }
    close();
    end();
    return std::nullopt;
}

size_t Connection::dispatch(Frame* frame) {
    const FrameHeader& header = frame->header;
    switch (header.kind) {
        case FrameKind::kTransaction:
            return dispatchCall(frame);
        case FrameKind::kReply:
            dispatchReply(frame);
            break;
        case FrameKind::kRelease:
            if (sp<BHwBinder> object = objects_.takeBack(header.objectId, header.givenBack)) {
                // The object's destructor is a program's code, so it runs on a thread of the pool.
                ThreadPool::self().post([object = std::move(object)] {});
            }
            break;
        case FrameKind::kServed:
            dispatchServed(header);
            break;
    }
    return 0;
}

size_t Connection::dispatchCall(Frame* frame) {
    auto transaction = std::make_unique<Transaction>(account_);
    const FrameHeader& header = transaction->header = frame->header;
    if (transaction->isOneWay() != (header.callId == 0)) {
        throw BrokenPeer("a call is neither one-way nor numbered");
    }
    transaction->claim.set(frame->descriptors.size());
    transaction->isIncomplete = !frame->isComplete();
    transaction->data = parcelOf(frame);
    transaction->target = objects_.find(header.objectId);

    const MutexLock lock(mutex_);
    const auto waiting = pendingCalls_.find(header.parentCallId);
    if (!transaction->isOneWay() && waiting != pendingCalls_.end() && !waiting->second->isDone) {
        PendingCall& call = *waiting->second;
        if (call.nested != nullptr) throw BrokenPeer("it makes two calls while serving one");
        transaction->isNested = true;
        call.nested = std::move(transaction);
        role_.wake(call);
        return 0;
    }
    CallWindow& window = transaction->isOneWay() ? receivedOneWayCalls_ : receivedCalls_;
    if (!window.take(CallWindow::costOf(header))) {
        throw BrokenPeer("it makes more calls than can be served");
    }
    return backlog_.add(std::move(transaction)) ? 1 : 0;
}

void Connection::dispatchReply(Frame* frame) {
    const bool isComplete = frame->isComplete();
    Parcel results = parcelOf(frame);
    {
        const MutexLock lock(mutex_);
        const auto abandoned = abandonedCalls_.find(frame->header.callId);
        if (abandoned != abandonedCalls_.end()) {
            giveBack(sentCalls_, abandoned->second);
            abandonedCalls_.erase(abandoned);
            return;
        }
        const auto found = pendingCalls_.find(frame->header.callId);
        if (found == pendingCalls_.end() || found->second->isDone) {
            throw BrokenPeer("a reply answers no call");
        }
        PendingCall& call = *found->second;
        call.status = isComplete ? frame->header.status : status_t{NO_MEMORY};
        if (call.reply != nullptr) *call.reply = std::move(results);
        call.isDone = true;
        role_.wake(call);
    }
    if (!isComplete) {
        logOfPeer("a reply of process %d brings descriptors that cannot be taken", peer_.pid);
    }
}

void Connection::dispatchServed(const FrameHeader& header) {
    const MutexLock lock(mutex_);
    if (!sentOneWayCalls_.giveBack(header.givenBack)) {
        throw BrokenPeer("it has served calls that were not made");
    }
    roomMade_.notify_all();
}

Parcel Connection::parcelOf(Frame* frame) {
    return Parcel(std::move(frame->items), objects_.receive(frame->objects, shared_from_this()),
                  std::move(frame->descriptors), [weak = weak_from_this()] {
                      if (const auto self = weak.lock()) {
                          self->drop("a message does not contain what it should");
                      }
                  });
}

// The end

void Connection::drop(const char* reason) {
    // Logs first and without a lock: writing to the log may block.
    if (alive_.exchange(false)) logOfPeer("dropped process %d: %s", peer_.pid, reason);
    close();
}

void Connection::close() {
    const MutexLock lock(mutex_);
    alive_ = false;
    if (socket_.ok()) shutdown(socket_.get(), SHUT_RDWR);
    roomMade_.notify_all();
}

void Connection::end() {
    owner_.onEnd(this);
    // Frees memory now: proxies may keep this object alive for long.
    reader_ = {};
    readersClaim_.set(0);

    struct Remains {
        std::deque<TransactionPointer> calls;
        ObjectTable::Remains objects;
    };
    const auto remains = std::make_shared<Remains>();
    {
        const MutexLock sendLock(sendMutex_);
        const MutexLock lock(mutex_);
        role_.end();
        socket_.reset();
        remains->calls = backlog_.clear();
        remains->objects = objects_.clear();
        for (const auto& [callId, call] : pendingCalls_) {
            if (call->nested != nullptr) remains->calls.push_back(std::move(call->nested));
            if (!std::exchange(call->isDone, true)) call->status = DEAD_OBJECT;
            role_.wake(*call);
        }
    }
    // Runs on the pool: destructors and death recipients are code of programs.
    ThreadPool::self().post([remains] {
        remains->calls.clear();
        remains->objects.objects.clear();
        for (const sp<BpHwBinder>& proxy : remains->objects.proxies) proxy->sendObituary();
    });
}

}  // namespace android::hardware::details
