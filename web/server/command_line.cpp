// The command line of vtrdc-web, which scripts/sim starts.
#include "command_line.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <getopt.h>
#include <limits>
#include <string_view>

namespace web {
namespace {

// Numbers of the options for getopt. Those with a text come first; each of them is required.
enum : int { board, page, log, sim, stock_scene, start, daemon_program, port, beside };

constexpr std::array options = std::to_array<option>({
    {"board", required_argument, nullptr, board},
    {"page", required_argument, nullptr, page},
    {"log", required_argument, nullptr, log},
    {"sim", required_argument, nullptr, sim},
    {"stock-scene", required_argument, nullptr, stock_scene},
    {"start", required_argument, nullptr, start},
    {"daemon", required_argument, nullptr, daemon_program},
    {"port", required_argument, nullptr, port},
    {"beside", required_argument, nullptr, beside},
    {nullptr, 0, nullptr, 0},
});

constexpr unsigned PORT_MAX = 65535;

// A number from 1 to `max`; none when the text is anything else.
template <typename T> std::optional<T> number_in(std::string_view text, T max) {
    T number = 0;
    const auto [end, error] = std::from_chars(text.begin(), text.end(), number);
    const bool is_number =
        error == std::errc{} && end == text.end() && number >= 1 && number <= max;
    return is_number ? std::optional{number} : std::nullopt;
}

// Where the texts of the options up to --daemon go.
std::array<std::string*, port> texts_of(command_line& line) {
    controller_options& text = line.options;
    return {&text.board,       &text.page,  &text.log,   &text.sim,
            &text.stock_scene, &text.start, &line.daemon};
}

// False when the option's value is invalid, or there is no such option.
bool apply_option(command_line& line, int which) {
    switch (which) {
    case port:
        line.port = number_in(optarg, PORT_MAX);
        return line.port.has_value();
    case beside:
        line.beside = number_in(optarg, std::numeric_limits<pid_t>::max());
        return line.beside.has_value();
    case '?': // getopt has said why
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
    if (optind < argc || !is_complete(line)) {
        why = "it takes each of --board, --page, --log, --sim, --stock-scene, --start and "
              "--daemon, and no more than --port and --beside";
        return std::nullopt;
    }
    return line;
}

} // namespace web
