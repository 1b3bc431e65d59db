#include "tools/straighten_report.h"

#include "tools/report.h"
#include "tools/report_json.h"

namespace skylevel {
namespace {

// Why a photo was left alone; null when it was not.
const char* reasonInWords(Outcome outcome) {
    switch (outcome) {
        case Outcome::turned:
            break;
        case Outcome::noHorizon:
            return "no horizon";
        case Outcome::level:
            return "level enough";
        case Outcome::beyondLimit:
            return "tilted beyond the limit";
    }
    return nullptr;
}

constexpr const char* columns[] = {"file",     "turned",    "turn",          "reason", "output", "horizon",
                                   "angle",    "verdict",   "decisionAngle", "format", "width",  "height",
                                   "newWidth", "newHeight", "warnings",      "error"};

Json objectOf(const StraightenJob& job, const StraightenResult& result) {
    Json object;
    object["file"] = job.name;
    if (!result.error.empty()) {
        object["error"] = result.error;
    } else {
        const bool turned = result.outcome == Outcome::turned;
        object["turned"] = turned;
        object["turn"] = turned ? Json(result.turn) : Json(nullptr);
        object["reason"] = turned ? Json(nullptr) : Json(reasonInWords(result.outcome));
        object["output"] = result.output.empty() ? Json(nullptr) : Json(result.output);
        if (result.decision) addDecision(object, *result.decision);
        object["format"] = formatOf(result.format).name;
        object["width"] = result.width;
        object["height"] = result.height;
        if (turned) {
            object["newWidth"] = result.newWidth;
            object["newHeight"] = result.newHeight;
        }
    }
    object["warnings"] = result.warnings;
    return object;
}

}  // namespace

std::string reportLine(const StraightenJob& job, const StraightenResult& result) {
    std::string line = displayName(job.name) + ": ";
    if (result.outcome == Outcome::turned)
        line += "turned by " + degrees(result.turn) + " degrees, " + sizeInWords(result.newWidth, result.newHeight) +
                " of " + sizeInWords(result.width, result.height) + " pixels" +
                (result.newFormat == result.format ? "" : std::string(", as ") + formatOf(result.newFormat).title);
    else
        line += "left alone";
    if (result.outcome == Outcome::level || result.outcome == Outcome::beyondLimit)
        line += std::string(", ") + reasonInWords(result.outcome);
    if (result.decision) line += ": " + verdictInWords(*result.decision);
    return line;
}

std::string reportJson(const StraightenJob& job, const StraightenResult& result) {
    return jsonLine(objectOf(job, result));
}

std::string reportCsv(const StraightenJob& job, const StraightenResult& result) {
    return csvLine(objectOf(job, result), columns);
}

std::string straightenCsvHeader() { return csvHeader(columns); }

}  // namespace skylevel
