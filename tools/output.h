// The results of a command on standard output: as text, or as JSON for programs.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "table.h"

namespace Output {

/// Of the objects that are printed, as docs/sensorctl-json.md describes them. Counts up when a
/// member goes or changes its meaning; new members do not count.
inline constexpr int kJsonSchema = 1;

/// Which of the two, for the whole process.
void setJson(bool isJson);
bool isJson();

/// One result: the line for people, or the object, with the schema's number, on a line of its own.
void print(const std::string& line, const Json& object);

/// The tables below each other, or one object with an array of objects for each name.
void print(const std::vector<std::pair<std::string, Table>>& tables);

/// The object on one line, in ASCII; bytes that are no UTF-8 are replaced.
std::string jsonLine(const Json& object);

}  // namespace Output
