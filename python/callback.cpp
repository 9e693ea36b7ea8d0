// If a thread requests the GIL of a finished interpreter, Python ends the thread in the middle of
// library code. So callbacks need a permit.
#include "callback.h"

#include <condition_variable>
#include <mutex>

namespace {

std::mutex mutex;
std::condition_variable finished;
size_t inProgress = 0;
bool isOver = false;

}  // namespace

CallbackPermit::CallbackPermit() {
    const std::lock_guard lock(mutex);
    isGranted_ = !isOver;
    inProgress += isGranted_ ? 1 : 0;
}

CallbackPermit::~CallbackPermit() {
    const std::lock_guard lock(mutex);
    inProgress -= isGranted_ ? 1 : 0;
    finished.notify_all();
}

void CallbackPermit::endAll() {
    const py::gil_scoped_release release;
    std::unique_lock lock(mutex);
    isOver = true;
    finished.wait(lock, [] { return inProgress == 0; });
}
