// Terminal control with the few sequences that every terminal knows.
#include "display.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

/// @return 0 if it is not known.
size_t terminalWidth() {
    winsize size{};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

bool isCapableTerminal() {
    const char* const kind = std::getenv("TERM");
    return isatty(STDOUT_FILENO) == 1 && kind != nullptr && std::string_view(kind) != "dumb";
}

}  // namespace

Display::Display() : isTerminal_(isCapableTerminal()) {}

void Display::update(std::vector<std::string> lines) {
    if (isTerminal_) {
        if (shownLines_ != 0) {
            // To the beginning of the block, and clear from there.
            fmt::print("\x1b[{}F\x1b[J", shownLines_);
        }
        shownLines_ = lines.size();
        // A line that wraps would take two, and the next update would miss the beginning.
        if (const size_t width = terminalWidth(); width != 0) {
            for (std::string& line : lines) {
                line.resize(std::min(line.size(), width));
            }
        }
    } else {
        lines.emplace_back();
    }
    append(lines);
}

void Display::append(const std::vector<std::string>& lines) {
    for (const std::string& line : lines) {
        fmt::print("{}\n", line);
    }
    std::fflush(stdout);
}
