// Data streams for Python: what they receive is copied out of the library's callbacks.
#pragma once

#include <vek/sensors/stream.h>

#include <algorithm>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "records.h"
#include "service.h"

/// How a stream is started and stopped. The functions keep the object alive that it belongs to.
struct StreamControl {
    std::function<void()> start;
    std::function<void()> stop;
};

class Composite;

/// A stream and what it has received. Its functions that reach the library are for Service::call.
class Stream : public std::enable_shared_from_this<Stream> {
  public:
    Stream(Service::Life life, const char* record, StreamControl control)
        : life_(life), record_(record), control_(std::move(control)) {}
    virtual ~Stream() = default;
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    Service::Life life() const { return life_; }
    const char* record() const { return record_; }
    virtual py::object dtype() const = 0;

    virtual size_t queueSize() const = 0;
    /// Throws py::value_error if the size cannot be set (any more).
    virtual void setQueueSize(size_t records) = 0;

    virtual void addTo(Vek::Sensors::ICompositeStream& composite) = 0;
    void start() { control_.start(); }
    void stop() { control_.stop(); }

    /// The records received since the last call; a null object if there are none.
    virtual py::object take() = 0;
    /// Records in what was taken.
    virtual size_t countOf(const py::object& batch) const = 0;
    /// Joins batches that were taken.
    virtual py::object join(const py::list& batches) const = 0;

    /// The composite to which it was added last.
    const Composite* owner = nullptr;

    // As a composite of this stream alone.
    void enter();
    void exit(const py::object& errorType);
    py::object next();
    py::object read(std::optional<double> seconds, std::optional<size_t> count);

  private:
    std::shared_ptr<Composite> own() const;

    const Service::Life life_;
    const char* const record_;
    const StreamControl control_;
    std::shared_ptr<Composite> own_;
};

/// A stream whose batches are arrays.
template <typename Data>
class RecordStream : public Stream {
  public:
    RecordStream(Service::Life life, std::shared_ptr<Vek::Sensors::IDataStream<Data>> stream,
                 StreamControl control)
        : Stream(life, ApiTables::Record<Data>::kName, std::move(control)),
          stream_(std::move(stream)) {
        // Python may pause for a while.
        stream_->setQueueSize(std::clamp<size_t>(kQueueBytes / sizeof(Data), 32, 4096));
        stream_->setCallbackv(
            [received = received_](typename Vek::Sensors::IDataStream<Data>::Batch spans) {
                for (const auto& span : spans) {
                    for (const Data& record : span) {
                        Records::append(*received, record);
                    }
                }
            });
    }

    py::object dtype() const override { return Records::dtypeOf<Data>(); }

    size_t queueSize() const override { return stream_->getQueueSize(); }
    void setQueueSize(size_t records) override {
        if (owner != nullptr) {
            throw py::value_error("the queue exists already: set its size before");
        }
        if (records == 0 || records > kLongestQueueBytes / sizeof(Data)) {
            throw py::value_error("a queue of " + std::to_string(records) + " records");
        }
        stream_->setQueueSize(records);
    }

    void addTo(Vek::Sensors::ICompositeStream& composite) override { stream_->addTo(composite); }

    py::object take() override {
        if (received_->empty()) {
            return {};
        }
        const py::dtype& dtype = Records::dtypeOf<Data>();
        const auto count = static_cast<py::ssize_t>(received_->size()) / dtype.itemsize();
        return Records::arrayOf(dtype, {count}, std::exchange(*received_, {}));
    }

    size_t countOf(const py::object& batch) const override { return py::len(batch); }

    py::object join(const py::list& batches) const override {
        return batches.empty()
                   ? py::module_::import("numpy").attr("empty")(0, Records::dtypeOf<Data>())
                   : py::module_::import("numpy").attr("concatenate")(batches);
    }

  private:
    static constexpr size_t kQueueBytes = size_t{1} << 20;
    static constexpr size_t kLongestQueueBytes = size_t{1} << 28;

    const std::shared_ptr<Vek::Sensors::IDataStream<Data>> stream_;
    const std::shared_ptr<Records::Bytes> received_ = std::make_shared<Records::Bytes>();
};

/// Waits for streams: ICompositeStream with `with` and iteration.
class Composite {
  public:
    /// Adds the streams. Throws py::value_error unless they are 1 to 15 different ones.
    explicit Composite(std::vector<std::shared_ptr<Stream>> streams);

    /// Starts the streams.
    void enter();
    /// Stops them. Throws no more if an error of that type is on its way.
    void exit(const py::object& errorType);

    using Batch = std::pair<std::shared_ptr<Stream>, py::object>;
    /// @return the received batches; empty after the time-out or wake().
    std::vector<Batch> wait(std::optional<double> seconds);
    /// The next batch. Throws py::stop_iteration after wake().
    Batch next();
    void wake() { composite_->wake(); }

  private:
    /// Throws if a stream was added to another composite since.
    void requireOwn() const;
    void requireNoWait() const;

    const std::vector<std::shared_ptr<Stream>> streams_;
    Service::Life life_ = 0;
    std::shared_ptr<Vek::Sensors::ICompositeStream> composite_;
    /// Also true if starting or stopping was interrupted, because the state is then unknown.
    bool isRunning_ = false;
    bool isWaiting_ = false;
    /// Received and not yet handed out by next().
    std::deque<Batch> waiting_;
};

/// Defines the classes of this file.
void defineStreams(py::module_& module);
