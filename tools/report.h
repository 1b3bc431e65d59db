// What the tool says about a photo.
#pragma once

#include <string>
#include <string_view>

#include "tools/detect.h"

namespace skylevel {

// "horizon, +5.03 degrees, segment" or "no horizon, busy scene".
std::string verdictInWords(const Decision& decision);

// One line for people, without its end.
std::string reportLine(const DetectJob& job, const DetectResult& result);

// One JSON object on one line, without its end; always valid UTF-8.
std::string reportJson(const DetectJob& job, const DetectResult& result, const DetectOptions& options);

// The same as a record of CSV, and the header of such records; without their end, and as valid.
std::string reportCsv(const DetectJob& job, const DetectResult& result, const DetectOptions& options);
std::string detectCsvHeader();

// An angle with its sign, to a hundredth.
std::string degrees(double angle);

// A file's name for lines that people read.
std::string displayName(const std::string& name);

// Safe to print on a terminal: bytes of control characters, of those that set the direction of text, and what is not
// UTF-8 become \xNN.
std::string printable(std::string_view text);

}  // namespace skylevel
