// The results of a command on standard output: as text, or as JSON for programs.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "table.h"

namespace Output {

/// Version of the printed objects (docs/sensorctl-json.md). Increased when a member is removed or
/// changes its meaning, but not for new members.
inline constexpr int kJsonSchema = 1;

/// Chooses JSON or text for the whole process.
void setJson(bool isJson);
bool isJson();

/// Prints one result: `line` as text, or `object` with the schema number on one line.
void print(const std::string& line, const Json& object);

/// Prints tables one below the other, or one object with an array of objects for each name.
void print(const std::vector<std::pair<std::string, Table>>& tables);

/// Formats the object on one line, in ASCII; replaces bytes that are not UTF-8.
std::string jsonLine(const Json& object);

}  // namespace Output
