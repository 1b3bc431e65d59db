// What the JSON objects of the commands have in common.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "tools/detect.h"

namespace skylevel {

// Ordered, so that a line reads from the question to the answer's details.
using Json = nlohmann::ordered_json;

void addDecision(Json& object, const Decision& decision);

// On one line, without its end; bytes that are not UTF-8 are replaced.
std::string jsonLine(const Json& object);

}  // namespace skylevel
