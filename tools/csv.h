// Comma-separated values as RFC 4180 has them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace skylevel {

// One record without its end, which is a carriage return and a line feed. Fields with a comma, a quote or an end of
// line are quoted.
std::string csvRecord(const std::vector<std::string>& fields);

constexpr std::string_view csvEnd = "\r\n";

}  // namespace skylevel
