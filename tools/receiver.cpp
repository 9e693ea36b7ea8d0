// A thread that waits on one composite.
#include "receiver.h"

#include <vek/sensors/factories.h>

#include <chrono>

Receiver::Receiver()
    : composite_(Vek::Sensors::createStreamCompositor()->createCompositeStream("sensorctl")) {}

Receiver::~Receiver() {
    if (thread_.joinable()) {
        isEnding_ = true;
        composite_->wake();
        thread_.join();
    }
}

void Receiver::add(SensorStream& stream) {
    stream.addTo(*composite_);
    ++streams_;
}

void Receiver::start() {
    thread_ = std::thread([this] {
        while (!isEnding_) {
            composite_->wait();
        }
    });
}

void Receiver::finish() {
    isEnding_ = true;
    composite_->wake();
    thread_.join();
    composite_->waitFor(std::chrono::nanoseconds::zero());
}
