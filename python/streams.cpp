// The wait holds the GIL between its slices only.
#include "streams.h"

#include <vek/sensors/factories.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>

namespace {

using Clock = std::chrono::steady_clock;
using Deadline = std::optional<Clock::time_point>;

constexpr size_t kMostStreams = 15;
/// Longer waits have no time-out.
constexpr double kLongestWaitSeconds = 1e8;

Deadline deadlineIn(std::optional<double> seconds) {
    if (seconds && !(*seconds >= 0)) {
        throw py::value_error("a time of " + std::to_string(*seconds) + " s");
    }
    if (!seconds || *seconds > kLongestWaitSeconds) {
        return std::nullopt;
    }
    return Clock::now() +
           std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(*seconds));
}

}  // namespace

Composite::Composite(std::vector<std::shared_ptr<Stream>> streams) : streams_(std::move(streams)) {
    const std::set<std::shared_ptr<Stream>> different(streams_.begin(), streams_.end());
    if (streams_.empty() || streams_.size() > kMostStreams || different.size() != streams_.size() ||
        different.count(nullptr) != 0) {
        throw py::value_error("a composite is of 1 to 15 different streams");
    }
    life_ = streams_.front()->life();
    for (const std::shared_ptr<Stream>& stream : streams_) {
        Service::requireAlive(stream->life());
        stream->owner = this;
    }
    composite_ = Service::call(life_, [added = streams_] {
        std::shared_ptr<Vek::Sensors::ICompositeStream> composite =
            Vek::Sensors::createStreamCompositor()->createCompositeStream(kModuleName);
        for (const std::shared_ptr<Stream>& stream : added) {
            stream->addTo(*composite);
        }
        return composite;
    });
}

void Composite::requireOwn() const {
    for (const std::shared_ptr<Stream>& stream : streams_) {
        if (stream->owner != this) {
            throw std::runtime_error(std::string(stream->record()) +
                                     ": the stream was added to another composite since");
        }
    }
}

void Composite::requireNoWait() const {
    if (isWaiting_) {
        throw std::runtime_error("another thread waits on these streams");
    }
}

void Composite::enter() {
    requireOwn();
    if (isRunning_) {
        throw std::runtime_error("the streams are started already");
    }
    isRunning_ = true;
    Service::call(life_, [started = streams_] {
        for (const std::shared_ptr<Stream>& stream : started) {
            stream->start();
        }
    });
}

void Composite::exit(const py::object& errorType) {
    requireNoWait();
    waiting_.clear();
    if (!errorType.is_none() && Service::isOver(life_)) {
        return;
    }
    std::vector<std::shared_ptr<Stream>> stopped;
    std::copy_if(streams_.begin(), streams_.end(), std::back_inserter(stopped),
                 [this](const auto& stream) { return stream->owner == this; });
    Service::call(life_, [stopped] {
        for (const std::shared_ptr<Stream>& stream : stopped) {
            stream->stop();
        }
    });
    isRunning_ = false;
}

std::vector<Composite::Batch> Composite::wait(std::optional<double> seconds) {
    if (!isRunning_) {
        throw std::runtime_error("the streams are not started: use `with`");
    }
    requireOwn();
    requireNoWait();
    const Deadline deadline = deadlineIn(seconds);
    std::vector<Batch> batches;
    while (true) {
        Service::requireAlive(life_);
        const Clock::time_point end = Clock::now() + Service::kSlice;
        auto result = Vek::Sensors::WaitResult::NOTHING_DELIVERED;
        isWaiting_ = true;
        {
            const py::gil_scoped_release release;
            result = composite_->waitUntil(deadline ? std::min(end, *deadline) : end);
        }
        isWaiting_ = false;
        Service::handleSignals();
        for (const std::shared_ptr<Stream>& stream : streams_) {
            if (py::object batch = stream->take()) {
                batches.emplace_back(stream, std::move(batch));
            }
        }
        if (!batches.empty() || result == Vek::Sensors::WaitResult::WOKEN ||
            (deadline && Clock::now() >= *deadline)) {
            return batches;
        }
    }
}

Composite::Batch Composite::next() {
    if (waiting_.empty()) {
        for (Batch& batch : wait(std::nullopt)) {
            waiting_.push_back(std::move(batch));
        }
    }
    if (waiting_.empty()) {
        throw py::stop_iteration();
    }
    Batch batch = std::move(waiting_.front());
    waiting_.pop_front();
    return batch;
}

void Stream::enter() {
    own_ = std::make_shared<Composite>(std::vector{shared_from_this()});
    own_->enter();
}

void Stream::exit(const py::object& errorType) {
    if (const std::shared_ptr<Composite> own = std::exchange(own_, nullptr)) {
        own->exit(errorType);
    }
}

std::shared_ptr<Composite> Stream::own() const {
    if (own_ == nullptr) {
        throw std::runtime_error(std::string(record_) + ": the stream is not started: use `with`");
    }
    return own_;
}

py::object Stream::next() {
    return own()->next().second;
}

py::object Stream::read(std::optional<double> seconds, std::optional<size_t> count) {
    if (!seconds && !count) {
        throw py::value_error("read() takes seconds, count or both");
    }
    const Deadline deadline = deadlineIn(seconds);
    py::list batches;
    size_t received = 0;
    while (!count || received < *count) {
        std::optional<double> left;
        if (deadline) {
            left = std::max(0.0, std::chrono::duration<double>(*deadline - Clock::now()).count());
        }
        const std::vector<Composite::Batch> batch = own()->wait(left);
        if (batch.empty()) {
            break;
        }
        batches.append(batch.front().second);
        received += countOf(batch.front().second);
    }
    return join(batches);
}

void defineStreams(py::module_& module) {
    using Shared = std::shared_ptr<Stream>;
    py::class_<Stream, Shared>(
        module, "Stream",
        "A stream of records. `with` starts and stops it; iteration gives its batches:\n"
        "NumPy arrays of all records that came since the last one, oldest first.\n\n"
        "The streams of one `with` belong to the thread that iterates.")
        .def_property_readonly("record", &Stream::record, "The name of the records in the headers.")
        .def_property_readonly(
            "dtype", &Stream::dtype,
            "The numpy.dtype of the records; of frame sets, that of their metadata.")
        .def_property("queue_size", &Stream::queueSize, &Stream::setQueueSize,
                      "The capacity of the queue, in records; from the first `with` or Composite "
                      "on it is fixed.\nRecords that do not fit are dropped by the service.")
        .def("__enter__",
             [](const Shared& stream) {
                 stream->enter();
                 return stream;
             })
        .def("__exit__", [](Stream& stream, const py::object& type, const py::object&,
                            const py::object&) { stream.exit(type); })
        .def("__iter__", [](const Shared& stream) { return stream; })
        .def("__next__", &Stream::next)
        .def("read", &Stream::read, py::arg("seconds") = py::none(), py::arg("count") = py::none(),
             "Waits for that time, or until at least so many records have come, whichever is "
             "first.\n\nreturns: all records in one array; of a camera stream, a list.")
        .def("__repr__", [](const Stream& stream) {
            return std::string("<moriak_sensors.Stream of ") + stream.record() + ">";
        });

    py::class_<Composite, std::shared_ptr<Composite>>(
        module, "Composite",
        "Waits for 1 to 15 streams at once. `with` starts and stops them; iteration gives pairs\n"
        "of a stream and its batch.\n\n"
        "What has to be set between the adding and the start of a stream is set between the\n"
        "construction and `with`.")
        .def(py::init([](const py::args& streams) {
                 return std::make_shared<Composite>(streams.cast<std::vector<Shared>>());
             }),
             "Adds the streams: the queues exist from now on. A stream that was added to another\n"
             "composite before is lost to that one.")
        .def("__enter__",
             [](const std::shared_ptr<Composite>& composite) {
                 composite->enter();
                 return composite;
             })
        .def("__exit__", [](Composite& composite, const py::object& type, const py::object&,
                            const py::object&) { composite.exit(type); })
        .def("__iter__", [](const std::shared_ptr<Composite>& composite) { return composite; })
        .def("__next__", &Composite::next)
        .def("wait", &Composite::wait, py::arg("timeout") = py::none(),
             "Waits until something comes, for `timeout` seconds at most.\n\n"
             "returns: a list of pairs of a stream and its batch; empty if the time is over or\n"
             "wake() was called.")
        .def("wake", &Composite::wake,
             "Ends the wait in progress, or else the next one; iteration then ends. May be called\n"
             "from any thread.");
}
