// Blocks of text on standard output, replaced in place on a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

class Display {
  public:
    Display();

    bool isTerminal() const { return isTerminal_; }

    /// Shows `lines` in place of those of the last update; not on a terminal: below them.
    void update(std::vector<std::string> lines);

    /// Shows `lines` below what is there; they stay.
    static void append(const std::vector<std::string>& lines);

  private:
    bool isTerminal_;
    size_t shownLines_ = 0;
};
