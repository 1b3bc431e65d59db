// What the tool says about a photo that was to be straightened.
#pragma once

#include <string>

#include "tools/straighten.h"

namespace skylevel {

// One line for people, without its end.
std::string reportLine(const StraightenJob& job, const StraightenResult& result);

// One JSON object on one line, without its end; always valid UTF-8.
std::string reportJson(const StraightenJob& job, const StraightenResult& result);

// The same as a record of CSV, and the header of such records; without their end.
std::string reportCsv(const StraightenJob& job, const StraightenResult& result);
std::string straightenCsvHeader();

}  // namespace skylevel
