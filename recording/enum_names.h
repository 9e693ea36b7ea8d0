// Names of enumerators: a table for each enumeration, and what is looked up in it.
#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Recording {

template <typename Enum>
struct Named {
    Enum value;
    const char* name;
};

/// @return the value's name; for an unnamed value, `kind` and its number
template <typename Enum, size_t size>
std::string nameIn(const Named<Enum> (&table)[size], Enum value, std::string_view kind = "") {
    for (const Named<Enum>& entry : table) {
        if (entry.value == value) {
            return entry.name;
        }
    }
    return fmt::format("{}{}{}", kind, kind.empty() ? "" : " ", static_cast<int64_t>(value));
}

/// @return empty if no value has the name
template <typename Enum, size_t size>
std::optional<Enum> findNamed(const Named<Enum> (&table)[size], std::string_view name) {
    for (const Named<Enum>& entry : table) {
        if (entry.name == name) {
            return entry.value;
        }
    }
    return std::nullopt;
}

template <typename Enum, size_t size>
std::vector<std::string> namesOf(const Named<Enum> (&table)[size]) {
    std::vector<std::string> names;
    names.reserve(size);
    for (const Named<Enum>& entry : table) {
        names.emplace_back(entry.name);
    }
    return names;
}

}  // namespace Recording
