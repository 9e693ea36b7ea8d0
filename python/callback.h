// Python functions that the library calls on threads of its own.
#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "values.h"

/// Keeps the interpreter alive for a callback. False if the interpreter is ending.
class CallbackPermit {
  public:
    CallbackPermit();
    ~CallbackPermit();
    CallbackPermit(const CallbackPermit&) = delete;
    CallbackPermit& operator=(const CallbackPermit&) = delete;

    explicit operator bool() const { return isGranted_; }

    /// Waits for the callbacks in progress; there are no others from now on. Needs the GIL.
    static void endAll();

  private:
    bool isGranted_;
};

/// Exceptions of the function are reported as unraisable, because no Python code can catch them.
template <typename... Arguments>
std::function<void(Arguments...)> callbackOf(py::function function) {
    const std::shared_ptr<py::function> shared(new py::function(std::move(function)),
                                               [](py::function* last) {
                                                   if (const CallbackPermit permit; permit) {
                                                       const py::gil_scoped_acquire acquire;
                                                       delete last;
                                                   }
                                               });
    return [shared](Arguments... arguments) {
        const CallbackPermit permit;
        if (!permit) {
            return;
        }
        const py::gil_scoped_acquire acquire;
        try {
            (*shared)(arguments...);
        } catch (py::error_already_set& error) {
            error.discard_as_unraisable("a callback of moriak_sensors");
        }
    };
}
