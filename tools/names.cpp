// Compares names.
#include "names.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <numeric>
#include <utility>

#include "failure.h"
#include "table.h"

namespace {

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

/// Number of characters to insert, remove or replace to turn `from` into `to` (Levenshtein
/// distance).
size_t editDistance(const std::string& from, const std::string& to) {
    std::vector<size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 0; i < from.size(); ++i) {
        size_t diagonal = row[0]++;
        for (size_t j = 0; j < to.size(); ++j) {
            const size_t replaced = diagonal + (from[i] == to[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

}  // namespace

size_t chooseName(const std::vector<std::string>& names, const std::string& wanted,
                  const std::string& what) {
    const std::string key = lowerCase(wanted);
    // Ways to match a key with a name, from strict to loose.
    using Reading = bool (*)(const std::string& name, const std::string& key);
    constexpr Reading kReadings[] = {
        [](const std::string& name, const std::string& part) { return name == part; },
        [](const std::string& name, const std::string& part) { return name.find(part) == 0; },
        [](const std::string& name, const std::string& part) {
            return name.find(part) != std::string::npos;
        },
    };
    std::vector<std::string> candidates;
    for (const Reading reading : kReadings) {
        candidates.clear();
        size_t found = 0;
        for (size_t i = 0; i < names.size(); ++i) {
            if (!key.empty() && reading(lowerCase(names[i]), key)) {
                candidates.push_back(printable(names[i]));
                found = i;
            }
        }
        if (candidates.size() == 1) {
            return found;
        }
        if (!candidates.empty()) {
            throw Failure(ExitCode::USAGE, fmt::format("{} '{}' could be any of: {}", what, wanted,
                                                       listOf(candidates)));
        }
    }
    for (const std::string& name : names) {
        candidates.push_back(printable(name));
    }
    throw Failure(ExitCode::USAGE,
                  names.empty()
                      ? fmt::format("there is no {} '{}', nor any other", what, wanted)
                      : fmt::format("{} '{}' is none of: {}", what, wanted, listOf(candidates)));
}

std::string nearestName(const std::vector<std::string>& names, const std::string& word) {
    std::string nearest;
    for (const std::string& name : names) {
        if (name.find(word) == 0) {
            return name;
        }
    }
    // A name with more than half of the word changed is not a misspelling.
    size_t least = word.size() / 2 + 1;
    for (const std::string& name : names) {
        const size_t distance = editDistance(word, name);
        if (distance < least) {
            least = distance;
            nearest = name;
        }
    }
    return nearest;
}
