// What the JSON objects of the commands, and the records made of them, have in common.
#pragma once

#include <span>
#include <string>

#include <nlohmann/json.hpp>

#include "tools/detect.h"

namespace skylevel {

// Ordered, so that a line reads from the question to the answer's details.
using Json = nlohmann::ordered_json;

void addDecision(Json& object, const Decision& decision);

// A record of CSV without its end: the members of these names, empty where there is none; lists with "; " between.
// Bytes that are not UTF-8 are replaced, as in JSON. Where standard output is a terminal, characters that command it
// are made printable.
std::string csvLine(const Json& object, std::span<const char* const> columnNames);
std::string csvHeader(std::span<const char* const> columnNames);

// On one line, without its end, in printable ASCII; bytes that are not UTF-8 are replaced.
std::string jsonLine(const Json& object);

}  // namespace skylevel
