// The command line of vtrdcctl: options, and a subcommand for each of the daemon's commands.
#include "vtrdcctl/command_line.h"

#include "api/help_legend.h"
#include "util/build_version.h"
#include "vtrdcctl/nearest.h"
#include "vtrdcctl/status_file.h"
#include "vtrdcctl/wording.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <functional>

namespace {

constexpr double DAY_S = 86400.0;
constexpr std::size_t HELP_COLUMN = 26;
constexpr const char* STATUS_HELP =
    "\nExit status: 0 done, 1 error reply, 2 no daemon or no reply, "
    "64 wrong usage, 74 answers not written.";

// What the marks in the commands' help mean.
std::string legend() {
    std::string text;
    for (const char* const line : api_legend_arr) {
        text += line;
        text += '\n';
    }
    text.erase(0, text.find_first_not_of('\n')); // the parser prints an empty line itself
    return text;
}

CLI::Option* add_seconds_option(CLI::App& parser, const std::string& names,
                                const std::function<void(std::chrono::milliseconds)>& keep,
                                const std::string& help) {
    const auto convert = [names, keep](const double& seconds) {
        if (!(seconds >= 0.0)) { // also refuses NaN
            throw CLI::ValidationError{names, "must be a time in seconds"};
        }
        keep(std::chrono::milliseconds{std::lround(std::min(seconds, DAY_S) * 1000.0)});
    };
    return parser.add_option_function<double>(names, convert, help)->type_name("SECONDS");
}

void add_seconds(CLI::App& parser, const std::string& names, std::chrono::milliseconds& target,
                 const std::string& help) {
    const std::chrono::duration<double> standard = target;
    add_seconds_option(
        parser, names, [&target](auto time) { target = time; }, help)
        ->default_str(CLI::detail::to_string(standard.count()));
}

// Adds an optional number of seconds.
void add_seconds(CLI::App& parser, const std::string& names,
                 std::optional<std::chrono::milliseconds>& target, const std::string& help) {
    add_seconds_option(
        parser, names, [&target](auto time) { target = time; }, help);
}

void add_options(CLI::App& parser, command_line& line) {
    parser.add_option("-s,--socket", line.client.socket_path, "The daemon's command socket")
        ->type_name("PATH")
        ->envname("VTRDC_SOCKET")
        ->capture_default_str();
    add_seconds(parser, "-t,--timeout", line.client.timeout, "How long to wait for a reply");
    add_seconds(parser, "-w,--wait", line.client.wait, "How long to wait for a daemon");
    add_seconds(parser, "-r,--retry", line.client.retry,
                "How long to retry while the reply is an error");
    parser
        .add_flag("-j,--json", line.client.is_json,
                  "Print each answer and error as a JSON object")
        ->trigger_on_parse(); // even if the rest of the command line is invalid
    parser.add_flag("-k,--keep-going", line.keep_going,
                    "Go on after a failure in commands from standard input");
    parser.add_option("--completion", line.completion, "Print completion code for a shell: bash")
        ->type_name("SHELL")
        ->check(CLI::IsMember({"bash"}));
    parser.add_option("script", line.script, "-: commands from standard input, one a line")
        ->option_text(" ")
        ->check(CLI::IsMember({"-"}));
}

// Adds one option per argument: a single option for several would interpret brackets in words.
void add_command(CLI::App& parser, const client_command& command) {
    CLI::App* const entry = parser.add_subcommand(std::string{command.name}, summary(command));
    entry->group("Commands")->fallthrough();
    for (std::size_t i = 0; i < command.takes.count; ++i) {
        const argument_row& row = command.takes.rows.at(i);
        entry->add_option(row.name)->description(accepted(row))->option_text(" ");
    }
    const std::string more = details(command);
    entry->footer(more + (more.empty() ? "" : "\n\n") + legend());
}

void add_own_commands(CLI::App& parser, command_line& line) {
    CLI::App* const status =
        parser.add_subcommand("status", "Show the sight's status; with --json, the status file");
    CLI::App* const watch =
        parser.add_subcommand("watch", "Print the status as JSON, now and at each change");
    for (CLI::App* const entry : {status, watch}) {
        entry->group("Watching")->fallthrough();
        entry->footer("The protocol document describes the fields of the status.");
    }
    add_seconds(*watch, "--for", line.watch.duration, "End after that time");
    const auto keep = [&line](const std::string& text) { line.watch.until = read_condition(text); };
    watch
        ->add_option_function<std::string>(
            "--until", keep, "End when a field has that value: outputs.recording.state=on")
        ->type_name("FIELD=VALUE");
}

std::vector<std::string> words_of(const CLI::App& command) {
    std::vector<std::string> words{command.get_name()};
    for (const CLI::Option* const option : command.get_options()) {
        if (option->get_positional() && option->count() > 0) {
            words.push_back(option->results().front());
        }
    }
    return words;
}

// Adds options and commands. Parsed values go to the record, which must outlive the parser.
void describe(CLI::App& parser, command_line& line) {
    parser.name("vtrdcctl");
    parser.description("Asks vtrdc, the daemon of the sight, to run a command.");
    parser.footer(legend() + STATUS_HELP);
    parser.set_version_flag("--version", build_version);
    parser.get_formatter()->column_width(HELP_COLUMN);
    parser.get_formatter()->label("SUBCOMMAND", "COMMAND");
    parser.validate_positionals();
    parser.require_subcommand(0, 1);
    add_options(parser, line);
    add_own_commands(parser, line);
    for (const client_command& command : all_commands()) {
        add_command(parser, command);
    }
}

void parse(CLI::App& parser, command_line& line, int argc, const char* const* argv) {
    parser.parse(argc, argv);
    for (const CLI::App* const command : parser.get_subcommands()) {
        line.words = words_of(*command);
    }
    if (parser.get_option("--socket")->count() > 0) { // also set by the environment
        line.client.status_path = status_path_beside(line.client.socket_path);
    }
    const int wishes = (line.words.empty() ? 0 : 1) + (line.script.empty() ? 0 : 1) +
                       (line.completion.empty() ? 0 : 1);
    if (wishes != 1) {
        throw usage_error{"name one command, or - for commands from standard input; "
                          "--help shows them"};
    }
}

std::vector<std::string> names_of(const std::vector<CLI::App*>& commands) {
    std::vector<std::string> names;
    for (const CLI::App* const command : commands) {
        names.push_back(command->get_name());
    }
    return names;
}

std::vector<std::string> long_names(const CLI::App& parser) {
    std::vector<std::string> names;
    for (const CLI::Option* const option : parser.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            names.push_back("--" + name);
        }
    }
    return names;
}

// Explains the words that the parser couldn't assign.
usage_error explain_extras(CLI::App& parser, const std::vector<std::string>& extras) {
    const std::string& word = extras.front();
    if (word.size() > 1 && word.front() == '-') {
        return usage_error{unknown("option", word, long_names(parser))};
    }
    const std::vector<CLI::App*> given = parser.get_subcommands();
    if (given.empty()) {
        return usage_error{unknown("command", word, names_of(parser.get_subcommands({})))};
    }
    return usage_error{given.front()->get_name(), "one argument too many: \"" + word + "\""};
}

} // namespace

bool read_command_line(int argc, const char* const* argv, command_line& line) {
    CLI::App parser;
    describe(parser, line);
    try {
        parse(parser, line, argc, argv);
    } catch (const CLI::Success& wish) {
        parser.exit(wish); // prints the help or the version
        return false;
    } catch (const CLI::ExtrasError&) {
        throw explain_extras(parser, parser.remaining(true));
    } catch (const CLI::ParseError& error) {
        throw usage_error{error.what()};
    }
    return true;
}

command_line_names all_names() {
    CLI::App parser;
    command_line line;
    describe(parser, line);
    std::vector<std::string> watch_options = long_names(*parser.get_subcommand("watch"));
    std::erase(watch_options, "--help"); // already among the general options
    return {long_names(parser), names_of(parser.get_subcommands({})), watch_options};
}
