// Blocks of text on standard output, replaced in place on a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

class Display {
  public:
    Display();

    bool isTerminal() const { return isTerminal_; }

    /// Replaces the lines of the last update with `lines`. If standard output is not a terminal,
    /// appends them.
    void update(std::vector<std::string> lines);

    /// Appends `lines` below the output; later updates do not replace them.
    static void append(const std::vector<std::string>& lines);

  private:
    bool isTerminal_;
    size_t shownLines_ = 0;
};
