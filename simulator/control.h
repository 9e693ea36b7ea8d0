// Commands that set and clear faults at run time, from a socket or a script.
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

/// @param returnOptions options of the process that replaces this one after "die TIME"
Answer execute(Faults* faults, const std::vector<std::string>& words,
               const std::vector<std::string>& returnOptions = {});

/// A line "SECONDS COMMAND" of a script.
struct ScriptLine {
    std::chrono::nanoseconds time;
    std::vector<std::string> words;
};

/// Reads a script. Its lines may be in any order; lines that begin with # are comments.
/// @param error receives the number of the first wrong line and the reason
std::optional<std::vector<ScriptLine>> readScript(const std::string& file, std::string* error);

/// Accepts commands from programs of the same user, and from a script, until it is destroyed.
///
/// Threading: one thread at a time. Its own threads use the faults.
class Control {
  public:
    explicit Control(std::shared_ptr<Faults> faults);
    ~Control();
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

    /// Opens the socket in the directory of the services. @return an error message; empty on
    /// success
    std::string listen();

    /// Begins to accept commands and to run the script. Call it once, after listen(). @param from
    /// seconds of the script that were already run before a restart
    void start(std::vector<ScriptLine> script, std::chrono::duration<double> from);

  private:
    void serve();
    void run(const std::vector<ScriptLine>& script) const;
    std::vector<std::string> returnOptions() const;

    const std::shared_ptr<Faults> faults_;
    /// When the script began.
    std::chrono::steady_clock::time_point begin_;
    const int wake_;  // eventfd that ends the threads
    int directory_ = -1;
    int socket_ = -1;
    std::thread server_;
    std::thread player_;
};

/// The program behind `moriak-sensor-simulator ctl`. @return its exit code
int runControlClient(const std::vector<std::string>& words);

}  // namespace Simulator
