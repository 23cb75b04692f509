// Reports the result for each recording, as text or JSON.
#include "recover/report.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>

namespace {

const char* name_of(recording_fate fate) {
    switch (fate) {
    case recording_fate::recovered:
        return "recovered";
    case recording_fate::recoverable:
        return "recoverable";
    case recording_fate::complete:
        return "complete";
    case recording_fate::in_use:
        return "in use";
    case recording_fate::empty:
        return "empty";
    case recording_fate::foreign:
        return "foreign";
    case recording_fate::failed:
        break;
    }
    return "failed";
}

bool has_contents(const file_report& report) {
    return report.fate == recording_fate::recovered || report.fate == recording_fate::recoverable;
}

std::string contents(const file_report& report) {
    std::array<char, 32> length{};
    std::snprintf(length.data(), length.size(), "%.1f s", report.length_s);
    std::string text = std::string{length.data()} + ", " + std::to_string(report.pictures) +
                       " pictures, " + std::to_string(report.sound_frames) + " sound frames";
    if (report.dropped > 0) {
        text += ", " + std::to_string(report.dropped) + " pictures can't be decoded";
    }
    return text;
}

} // namespace

std::string as_text(const file_report& report) {
    std::string text = report.path + ": " + name_of(report.fate);
    if (has_contents(report)) {
        text += ": " + contents(report);
    }
    return report.reason.empty() ? text : text + " (" + report.reason + ")";
}

std::string as_json(const file_report& report) {
    nlohmann::ordered_json object{{"file", report.path}, {"state", name_of(report.fate)}};
    if (has_contents(report)) {
        object["seconds"] = std::round(report.length_s * 1000) / 1000;
        object["pictures"] = report.pictures;
        object["dropped_pictures"] = report.dropped;
        object["sound_frames"] = report.sound_frames;
    }
    if (!report.reason.empty()) {
        object["reason"] = report.reason;
    }
    // File names may contain any bytes.
    return object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}
