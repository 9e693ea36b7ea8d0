// Faults at run time: the commands that set and clear them, from a socket or out of a script.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "faults.h"

namespace Simulator {

struct Answer {
    bool isDone = false;
    /// The answer in lines, or the error if the command failed.
    std::string text;
};

/// @param returnOptions of the process that takes this one's place after "die TIME"
Answer execute(Faults* faults, const std::vector<std::string>& words,
               const std::vector<std::string>& returnOptions = {});

/// A line "SECONDS COMMAND" of a script.
struct ScriptLine {
    std::chrono::nanoseconds time;
    std::vector<std::string> words;
};

/// Lines in any order; those that begin with # are not read.
/// @param error receives the number of the first wrong line, and what is wrong with it
std::optional<std::vector<ScriptLine>> readScript(const std::string& file, std::string* error);

/// Accepts commands from programs of the same user, and from a script, until it is destroyed.
///
/// Threading: its threads use the faults; the object is one thread's.
class Control {
  public:
    explicit Control(std::shared_ptr<Faults> faults);
    ~Control();
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

    /// Opens the socket, in the directory where the services are found. @return what went wrong
    std::string listen();

    /// Begins to accept commands; to be called once, after listen(). @param from the script goes on
    /// there, in s after its beginning
    void start(std::vector<ScriptLine> script, std::chrono::duration<double> from);

  private:
    void serve();
    void run(const std::vector<ScriptLine>& script) const;
    std::vector<std::string> returnOptions() const;

    const std::shared_ptr<Faults> faults_;
    /// Of the script.
    std::chrono::steady_clock::time_point begin_;
    const int wake_;  // tells the threads of the end
    int directory_ = -1;
    int socket_ = -1;
    std::thread server_;
    std::thread player_;
};

/// The program behind `moriak-sensor-simulator ctl`. @return its exit code
int runControlClient(const std::vector<std::string>& words);

}  // namespace Simulator
