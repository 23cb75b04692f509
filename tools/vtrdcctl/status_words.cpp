// Describes the daemon's status in words.
#include "vtrdcctl/status_words.h"

#include <array>
#include <iomanip>
#include <sstream>
#include <string_view>
#include <utility>

namespace {

using json = nlohmann::ordered_json;
using word_pair = std::pair<std::string_view, std::string_view>;

constexpr int NAME_WIDTH = 12;

constexpr auto live_view_words = std::to_array<word_pair>({
    {"live", "live"},
    {"frozen", "frozen, the camera sends no new picture"},
    {"no_input", "no camera picture"},
    {"none", "none"},
});

constexpr auto outputs = std::to_array<word_pair>({
    {"recording", "recording"},
    {"tcp", "TCP stream"},
    {"http", "HTTP push"},
});

// Returns the value at a pointer such as "/outputs/tcp/state" as text; empty if missing.
std::string text_at(const json& status, const std::string& pointer) {
    const json::json_pointer place{pointer};
    if (!status.contains(place)) {
        return "";
    }
    const json& value = status.at(place);
    return value.is_string() ? value.get<std::string>() : value.dump();
}

// Formats "2026-11-25T22:25:42Z" for reading.
std::string time_words(std::string time) {
    if (const std::size_t letter = time.find('T'); letter != std::string::npos) {
        time[letter] = ' ';
    }
    return time.ends_with('Z') ? time.substr(0, time.size() - 1) + " UTC" : time;
}

std::string since(const json& status, const std::string& part) {
    const std::string time = text_at(status, part + "/since");
    return time.empty() ? "" : " since " + time_words(time);
}

std::string live_view_line(const json& status) {
    const std::string state = text_at(status, "/live_view/state");
    for (const auto& [name, words] : live_view_words) {
        if (name == state) {
            return std::string{words} + since(status, "/live_view");
        }
    }
    return state;
}

std::string output_line(const json& status, std::string_view name) {
    const std::string part = "/outputs/" + std::string{name};
    const std::string state = text_at(status, part + "/state");
    const std::string file = text_at(status, part + "/file");
    const std::string splits = text_at(status, part + "/splits");
    std::string line = state + since(status, part);
    if (!file.empty()) {
        line += (state == "off" ? ", last into " : ", into ") + file;
    }
    return line + (splits.empty() || splits == "0" ? "" : ", splits: " + splits);
}

class lines {
public:
    void add(std::string_view name, const std::string& words) {
        if (words.empty()) {
            return;
        }
        text_ << std::left << std::setw(NAME_WIDTH) << name << words << '\n';
    }
    [[nodiscard]] std::string text() const { return text_.str(); }

private:
    std::ostringstream text_;
};

void add_failures(lines& text, const json& status) {
    const auto failures = status.find("failures");
    if (failures != status.end() && failures->is_object()) {
        for (const auto& [kind, failure] : failures->items()) {
            text.add("failure", kind + ", " + time_words(text_at(failure, "/time")) + ": " +
                                    text_at(failure, "/text"));
        }
    }
}

} // namespace

std::string status_words(const json& status) {
    lines text;
    text.add("daemon", text_at(status, "/version") + ", build " + text_at(status, "/build") +
                           ", process " + text_at(status, "/pid") + ", started " +
                           time_words(text_at(status, "/started")));
    text.add("live view", live_view_line(status));
    for (const auto& [name, words] : outputs) {
        text.add(words, output_line(status, name));
    }
    text.add("zoom", text_at(status, "/zoom"));
    const std::string inset = text_at(status, "/inset");
    text.add("inset", inset == "0" ? "off" : "factor " + inset);
    text.add("controls", text_at(status, "/handed_over") == "true"
                             ? "handed over to an outside controller"
                             : "buttons and commands");
    add_failures(text, status);
    return text.text();
}
