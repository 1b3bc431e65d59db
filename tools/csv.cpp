#include "tools/csv.h"

namespace skylevel {
namespace {

std::string quoted(const std::string& field) {
    if (field.find_first_of(",\"\r\n") == std::string::npos) return field;
    std::string result = "\"";
    for (const char letter : field) result.append(letter == '"' ? 2 : 1, letter);
    return result + '"';
}

}  // namespace

std::string csvRecord(const std::vector<std::string>& fields) {
    std::string record;
    for (const std::string& field : fields) {
        if (&field != &fields.front()) record += ',';
        record += quoted(field);
    }
    return record;
}

}  // namespace skylevel
