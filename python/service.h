// The service as Python sees it: calls that can be interrupted, and its death as an exception.
//
// The library ends a process whose service died in the middle of a call, or hangs the thread that
// made it. Therefore it is told to report deaths by SIGUSR2, each call runs on a thread of its own,
// and a thread whose call does not return any more is left behind.
#pragma once

#include <pybind11/pybind11.h>

#include <chrono>
#include <cstdint>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>
#include <type_traits>
#include <utility>

namespace Service {

/// Thrown to Python as moriak_sensors.NoService.
struct NoService : std::runtime_error {
    using runtime_error::runtime_error;
};

/// Thrown to Python as moriak_sensors.ServiceDied.
struct ServiceDied : std::runtime_error {
    using runtime_error::runtime_error;
};

/// Lives of the service, counted by this process. An object belongs to the life in which it was
/// made and is dead after it.
using Life = uint64_t;

/// Interval at which waits check for signals and deaths.
inline constexpr std::chrono::milliseconds kSlice{50};

/// The life in which an object is made now. Chooses the process's reaction to deaths when it is
/// called for the first time, so call it before each factory.
Life currentLife();

bool isOver(Life life);

/// Throws ServiceDied if the life is over.
void requireAlive(Life life);

/// Lets Python handle its signals; throws what the handlers raise. Needs the GIL.
void handleSignals();

/// Runs `call` while other Python threads run; needs the GIL. Throws ServiceDied if the service
/// dies before it returns, and what a signal's handler raises. `call` then goes on, or hangs, on
/// its own, and so must own all that it uses.
template <typename Call>
std::invoke_result_t<Call> call(Life life, Call call) {
    requireAlive(life);
    std::packaged_task<std::invoke_result_t<Call>()> task(std::move(call));
    auto result = task.get_future();
    std::thread(std::move(task)).detach();
    while (true) {
        {
            const pybind11::gil_scoped_release release;
            if (result.wait_for(kSlice) == std::future_status::ready) {
                break;
            }
        }
        requireAlive(life);
        handleSignals();
    }
    return result.get();
}

/// Shares an object of the API. Its destructor may call the service, and a dead service never
/// answers, so objects of a dead service are leaked.
template <typename Object>
std::shared_ptr<Object> share(Life life, std::unique_ptr<Object> object) {
    return {object.release(), [life](Object* last) {
                if (isOver(life)) {
                    return;
                }
                if (PyGILState_Check() == 0) {
                    delete last;
                    return;
                }
                try {
                    call(life, [last] { delete last; });
                } catch (const ServiceDied&) {
                    // Ignored here: the next call of the service raises it.
                } catch (pybind11::error_already_set& interrupt) {
                    interrupt.restore();
                }
            }};
}

}  // namespace Service
