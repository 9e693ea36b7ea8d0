// Terminal control with the few sequences that every terminal knows.
#include "display.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

/// Size in characters; zeros if it is unknown.
winsize terminalSize() {
    winsize size{};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size : winsize{};
}

/// Cuts lines to the terminal's size: the next update finds the beginning of the block only if no
/// line wraps and all fit on the screen.
void fitToTerminal(std::vector<std::string>& lines) {
    const winsize size = terminalSize();
    if (size.ws_row > 1) {
        lines.resize(std::min<size_t>(lines.size(), size.ws_row - 1U));
    }
    if (size.ws_col > 0) {
        for (std::string& line : lines) {
            line.resize(std::min<size_t>(line.size(), size.ws_col));
        }
    }
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
        fitToTerminal(lines);
        shownLines_ = lines.size();
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
