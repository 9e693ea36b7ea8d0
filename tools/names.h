// Names as people type them: shortened, in any case, misspelt.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

/// Finds the name that `wanted` abbreviates: the whole of one, or else the beginning or else any
/// part of just one of them, in any case.
/// @param what they name, for the message.
/// @return its index. Throws Failure, with the names that there are, if it is none of them or could
/// be several.
size_t chooseName(const std::vector<std::string>& names, const std::string& wanted,
                  const std::string& what);

/// The name that `word` is most likely a misspelling of; empty if none is near.
std::string nearestName(const std::vector<std::string>& names, const std::string& word);
