// Tables of offsets that describe how the bytes of a controller's record are converted, independent
// of the records' declarations.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace TestSupport {

using Bytes = std::vector<uint8_t>;

enum class Rule { BYTES, FLAGS7, FLAGS19, TEXT, TOUCH_POINT };

struct Row {
    size_t from;
    size_t to;
    size_t width;
    Rule rule = Rule::BYTES;
};
using Table = std::vector<Row>;

inline const Table kButtons{{0, 0, 8},
                            {8, 8, 16},
                            {24, 24, 8},
                            {32, 32, 4, Rule::FLAGS7},
                            {36, 40, 4, Rule::FLAGS7},
                            {40, 48, 4, Rule::FLAGS7},
                            {44, 56, 16}};
inline const Table kCurl{{0, 0, 8}, {32, 32, 32}, {64, 64, 8}, {72, 72, 4}};
inline const Table kPrecisionPad{{0, 0, 8}, {32, 32, 1}, {36, 36, 16}, {52, 52, 1}};
inline const Table kMultiTouch{{0, 0, 8},
                               {32, 32, 12, Rule::TOUCH_POINT},
                               {44, 42, 12, Rule::TOUCH_POINT},
                               {56, 52, 12, Rule::TOUCH_POINT},
                               {68, 62, 12, Rule::TOUCH_POINT}};
inline const Table kStylus{{0, 0, 8}, {32, 32, 4}};
inline const Table kPaired{{0, 0, 4},
                           {8, 8, 8},
                           {16, 16, 3},
                           {20, 20, 4},
                           {24, 24, 16, Rule::TEXT},
                           {40, 40, 64, Rule::TEXT},
                           {104, 104, 64, Rule::TEXT},
                           {168, 168, 64, Rule::TEXT},
                           {232, 232, 64, Rule::TEXT},
                           {296, 296, 4, Rule::FLAGS19},
                           {300, 304, 140},
                           {440, 444, 4}};
inline const Table kAdvertising{
    {0, 0, 4}, {8, 8, 8}, {16, 16, 16, Rule::TEXT}, {32, 32, 5}, {40, 40, 4, Rule::FLAGS19}};

inline void copyFlags(const uint8_t* from, uint8_t* to, uint32_t mask) {
    uint32_t flags = 0;
    std::memcpy(&flags, from, sizeof(flags));
    flags &= mask;
    std::memcpy(to, &flags, sizeof(flags));
}

/// The expected API record; bytes that no row names are zero.
inline Bytes expected(const Table& table, const Bytes& hal, size_t apiSize) {
    Bytes api(apiSize);
    for (const Row& row : table) {
        const uint8_t* from = hal.data() + row.from;
        uint8_t* to = api.data() + row.to;
        switch (row.rule) {
            case Rule::BYTES:
                std::copy_n(from, row.width, to);
                break;
            case Rule::FLAGS7:
            case Rule::FLAGS19:
                copyFlags(from, to, row.rule == Rule::FLAGS7 ? 127 : 524287);
                break;
            case Rule::TEXT:
                std::copy(from, std::find(from, from + row.width, 0), to);
                break;
            case Rule::TOUCH_POINT:
                to[0] = static_cast<uint8_t>((from[0] != 0 ? 1 : 0) + from[1] % 4 * 2 +
                                             (from[2] != 0 ? 8 : 0));
                std::copy_n(from + 4, 4, to + 2);
                std::copy_n(from + 8, 3, to + 6);
                break;
        }
    }
    return api;
}

template <typename Record>
Bytes bytesOf(const Record& record) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(&record);
    return {bytes, bytes + sizeof(record)};
}

}  // namespace TestSupport
