// Names as people type them: shortened, in any case, misspelt.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

/// Finds the name that `wanted` abbreviates, ignoring case: an equal name, else the only name that
/// begins with it, else the only name that contains it.
/// @param what kind of names these are, for the error message.
/// @return the index of the name. Throws Failure, listing the names, if none or several match.
size_t chooseName(const std::vector<std::string>& names, const std::string& wanted,
                  const std::string& what);

/// The name of which `word` is most likely a misspelling; empty if none is similar.
std::string nearestName(const std::vector<std::string>& names, const std::string& word);
