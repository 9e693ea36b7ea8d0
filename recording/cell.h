// Conversion of single values to text and back without loss.
#pragma once

#include <fmt/format.h>

#include <bitset>
#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace Recording {

/// Appends the shortest text that reads back exactly. Booleans and enumerations are written as
/// numbers, so that enumeration values without a name are kept.
template <typename Value>
void appendCell(fmt::memory_buffer& out, const Value& value) {
    const auto end = fmt::appender(out);
    if constexpr (std::is_enum_v<Value>) {
        appendCell(out, static_cast<std::underlying_type_t<Value>>(value));
    } else if constexpr (std::is_integral_v<Value> && sizeof(Value) == 1) {
        fmt::format_to(end, "{}", static_cast<int>(value));
    } else {
        fmt::format_to(end, "{}", value);
    }
}

template <size_t Size>
void appendCell(fmt::memory_buffer& out, const std::bitset<Size>& bits) {
    appendCell(out, bits.to_ullong());
}

/// @return false unless `cell` is exactly one number in the range of `Value`, or `Value` is a text.
template <typename Value>
bool readCell(std::string_view cell, Value& value) {
    if constexpr (std::is_enum_v<Value>) {
        std::underlying_type_t<Value> number{};
        if (!readCell(cell, number)) {
            return false;
        }
        value = static_cast<Value>(number);
        return true;
    } else if constexpr (std::is_same_v<Value, bool>) {
        value = cell == "1";
        return cell == "0" || cell == "1";
    } else if constexpr (std::is_same_v<Value, std::string>) {
        value = cell;
        return true;
    } else {
        const char* const end = cell.data() + cell.size();
        const auto result = std::from_chars(cell.data(), end, value);
        return result.ec == std::errc() && result.ptr == end;
    }
}

template <size_t Size>
bool readCell(std::string_view cell, std::bitset<Size>& bits) {
    static_assert(Size < 64);
    uint64_t number = 0;
    if (!readCell(cell, number) || number >> Size != 0) {
        return false;
    }
    bits = number;
    return true;
}

}  // namespace Recording
