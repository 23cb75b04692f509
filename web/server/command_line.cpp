// The command line of vtrdc-web, which scripts/sim starts.
#include "command_line.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <getopt.h>
#include <string_view>

namespace web {
namespace {

// Option numbers for getopt. Those with a text come first and are required.
enum : int { board, page, log, sim, stock_scene, start, port, background };

constexpr std::array options = std::to_array<option>({
    {"board", required_argument, nullptr, board},
    {"page", required_argument, nullptr, page},
    {"log", required_argument, nullptr, log},
    {"sim", required_argument, nullptr, sim},
    {"stock-scene", required_argument, nullptr, stock_scene},
    {"start", required_argument, nullptr, start},
    {"port", required_argument, nullptr, port},
    {"background", no_argument, nullptr, background},
    {nullptr, 0, nullptr, 0},
});

constexpr unsigned PORT_MAX = 65535;

// None unless the text is a port number.
std::optional<unsigned> port_in(std::string_view text) {
    unsigned number = 0;
    const auto [end, error] = std::from_chars(text.begin(), text.end(), number);
    const bool is_number =
        error == std::errc{} && end == text.end() && number >= 1 && number <= PORT_MAX;
    return is_number ? std::optional{number} : std::nullopt;
}

// Targets of the text options, up to --start.
std::array<std::string*, port> texts_of(command_line& line) {
    controller_options& text = line.options;
    return {&text.board, &text.page, &text.log, &text.sim, &text.stock_scene, &text.start};
}

// Returns false for an unknown option or an invalid value.
bool apply_option(command_line& line, int which) {
    switch (which) {
    case port:
        line.port = port_in(optarg);
        return line.port.has_value();
    case background:
        line.is_in_background = true;
        return true;
    case '?': // getopt has printed the reason
        return false;
    default:
        *texts_of(line).at(static_cast<std::size_t>(which)) = optarg;
        return true;
    }
}

bool is_complete(command_line& line) {
    return std::ranges::none_of(texts_of(line),
                                [](const std::string* text) { return text->empty(); });
}

} // namespace

std::optional<command_line> read_command_line(int argc, char* argv[], std::string& why) {
    command_line line;
    int which = 0;
    while ((which = getopt_long(argc, argv, "", options.data(), nullptr)) != -1) {
        if (!apply_option(line, which)) {
            why = "bad command line";
            return std::nullopt;
        }
    }
    if (!is_complete(line)) {
        why = "required: --board, --page, --log, --sim, --stock-scene, --start; optional: --port, "
              "--background; then options for starting the daemon";
        return std::nullopt;
    }
    line.options.start_words.assign(argv + optind, argv + argc);
    return line;
}

} // namespace web
