// Converts numbers of records to words for tables.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "recording/cell.h"

namespace Recording {

/// Turns a cell into words; for Field::shownAs.
using Words = std::function<std::string(std::string_view cell)>;

/// For an enumeration: the name of its value.
template <typename Enum, typename Name>
Words wordOf(Name name) {
    return [name](std::string_view cell) {
        Enum value{};
        return readCell(cell, value) ? name(value) : std::string();
    };
}

/// For a set of bits: the names of the bits that are set.
inline Words wordsOfBits(std::initializer_list<std::pair<unsigned, const char*>> names) {
    return [bits = std::vector(names)](std::string_view cell) {
        uint64_t set = 0;
        std::string words;
        if (readCell(cell, set)) {
            for (const auto& [bit, name] : bits) {
                words +=
                    (set >> bit & 1) == 0 ? "" : (words.empty() ? "" : "+") + std::string(name);
            }
        }
        return words;
    };
}

}  // namespace Recording
