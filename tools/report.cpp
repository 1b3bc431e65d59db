#include "tools/report.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <utility>

#include "tools/csv.h"
#include "tools/report_json.h"

namespace skylevel {
namespace {

using namespace std::string_view_literals;

// The deciding stage or the reason why there is no horizon.
const char* stageInWords(const Decision& decision) {
    if (decision.tooSmall) return "too small";
    switch (decision.evidence.verdict) {
        case Verdict::topEdge:
            return "top edge";
        case Verdict::segment:
            return "segment";
        case Verdict::busyScene:
            return "busy scene";
        case Verdict::noSegment:
            return "no straight segment";
        case Verdict::noDense:
            return "no solid segment";
        case Verdict::noFlat:
            return "no solid segment near level";
        case Verdict::tooShort:
            return "no segment long enough";
        case Verdict::tooTilted:
            return "too tilted";
    }
    return "unknown";
}

// Bytes of the UTF-8 sequence that text starts with; 0 when it is malformed.
std::size_t sequenceLength(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = byte(0);
    if (first < 0x80) return 1;
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
    for (std::size_t i = 1; i < length; ++i)
        if (byte(i) >> 6 != 2) return 0;
    // Overlong forms, surrogates and values beyond Unicode.
    const unsigned second = byte(1);
    if ((first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F)) return 0;
    if ((first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F)) return 0;
    return length;
}

// Whether a sequence is no letter but a command to the terminal, or makes a name look like another: it ends the line,
// or turns the direction of what follows.
bool isControl(std::string_view sequence) {
    constexpr std::pair<std::string_view, std::string_view> ranges[] = {
        {"\0"sv, "\x1F"},
        {"\x7F", "\x7F"},
        {"\xC2\x80", "\xC2\x9F"},          // U+0080 to U+009F
        {"\xD8\x9C", "\xD8\x9C"},          // U+061C
        {"\xE2\x80\x8E", "\xE2\x80\x8F"},  // U+200E and U+200F
        {"\xE2\x80\xA8", "\xE2\x80\xAE"},  // U+2028 to U+202E
        {"\xE2\x81\xA6", "\xE2\x81\xA9"},  // U+2066 to U+2069
    };
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [&](const auto& range) { return range.first <= sequence && sequence <= range.second; });
}

Json orNull(const std::optional<double>& value) { return value ? Json(*value) : Json(nullptr); }

constexpr const char* columns[] = {"file",      "horizon",  "angle",   "verdict",      "decisionAngle",
                                   "threshold", "format",   "width",   "height",       "turn",
                                   "mirrored",  "warnings", "overlay", "overlayError", "error"};

Json objectOf(const DetectJob& job, const DetectResult& result, const DetectOptions& options) {
    Json object;
    object["file"] = job.name;
    if (!result.error.empty()) {
        object["error"] = result.error;
    } else {
        addDecision(object, result.decision);
        object["threshold"] = options.threshold;
        object["format"] = formatOf(result.format).name;
        object["width"] = result.width;
        object["height"] = result.height;
        object["turn"] = result.orientation.turn;
        object["mirrored"] = result.orientation.mirrored;
        if (!job.overlay.empty() && result.overlayError.empty()) object["overlay"] = job.overlay;
        if (!result.overlayError.empty()) object["overlayError"] = result.overlayError;
    }
    object["warnings"] = result.warnings;
    return object;
}

std::string csvField(const Json& value) {
    if (value.is_null()) return "";
    if (value.is_string()) return value.get<std::string>();
    if (!value.is_array()) return value.dump();
    std::string list;
    for (const Json& item : value) list += (list.empty() ? "" : "; ") + csvField(item);
    return list;
}

}  // namespace

std::string degrees(double angle) {
    char text[32];
    // Adding 0 turns a rounded -0 into 0.
    const double rounded = std::round(angle * 100.0) / 100.0 + 0.0;
    std::snprintf(text, sizeof(text), "%+.2f", rounded);
    return text;
}

std::string verdictInWords(const Decision& decision) {
    std::string words = decision.horizon ? "horizon, " : "no horizon, ";
    if (decision.angle) {
        words += degrees(*decision.angle) + " degrees, ";
        if (*decision.angle != *decision.decisionAngle)
            words += "decided at " + degrees(*decision.decisionAngle) + ", ";
    }
    return words + stageInWords(decision);
}

std::string reportLine(const DetectJob& job, const DetectResult& result) {
    return displayName(job.name) + ": " + verdictInWords(result.decision);
}

std::string reportJson(const DetectJob& job, const DetectResult& result, const DetectOptions& options) {
    return jsonLine(objectOf(job, result, options));
}

std::string reportCsv(const DetectJob& job, const DetectResult& result, const DetectOptions& options) {
    return csvLine(objectOf(job, result, options), columns);
}

std::string detectCsvHeader() { return csvHeader(columns); }

void addDecision(Json& object, const Decision& decision) {
    object["horizon"] = decision.horizon;
    object["angle"] = orNull(decision.angle);
    object["verdict"] = stageInWords(decision);
    object["decisionAngle"] = orNull(decision.decisionAngle);
}

std::string jsonLine(const Json& object) {
    std::string line = object.dump(-1, ' ', true, Json::error_handler_t::replace);
    // ASCII, too, but a command to the terminal.
    constexpr std::string_view escapedDelete = "\\u007f";
    for (std::size_t at = 0; (at = line.find('\x7F', at)) != std::string::npos; at += escapedDelete.size())
        line.replace(at, 1, escapedDelete);
    return line;
}

std::string csvLine(const Json& object, std::span<const char* const> columnNames) {
    const Json valid = Json::parse(jsonLine(object));
    const bool forPeople = ::isatty(STDOUT_FILENO) != 0;
    std::vector<std::string> fields;
    for (const char* const name : columnNames) {
        const std::string field = csvField(valid.value(name, Json()));
        fields.push_back(forPeople ? printable(field) : field);
    }
    return csvRecord(fields);
}

std::string csvHeader(std::span<const char* const> columnNames) {
    return csvRecord({columnNames.begin(), columnNames.end()});
}

std::string displayName(const std::string& name) {
    return name == standardInput ? "(standard input)" : printable(name);
}

std::string printable(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t length = sequenceLength(text);
        if (length > 0 && !isControl(text.substr(0, length))) {
            result += text.substr(0, length);
            text.remove_prefix(length);
            continue;
        }
        char escaped[8];
        std::snprintf(escaped, sizeof(escaped), "\\x%02X", static_cast<unsigned char>(text[0]));
        result += escaped;
        text.remove_prefix(1);
    }
    return result;
}

}  // namespace skylevel
