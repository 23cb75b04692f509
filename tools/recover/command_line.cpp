// The command line of vtrdc-recover.
#include "recover/command_line.h"

#include "util/build_version.h"

#include <CLI/CLI.hpp>

namespace {

void describe(CLI::App& parser, command_line& line) {
    parser.name("vtrdc-recover");
    parser.description(
        "Recovers recordings that were never completed because the sight lost power or its "
        "daemon was killed.");
    parser.footer("Exit status: 0 success, even if there was nothing to do; 1 some recordings "
                  "could not be\nrecovered; 2 wrong usage. See vtrdc-recover(1).");
    parser.set_version_flag("--version", build_version);
    parser.add_flag("-n,--dry-run", line.is_dry_run, "Say what could be recovered, change nothing");
    parser.add_flag("-j,--json", line.is_json, "Write a JSON object for each recording");
    parser
        .add_option("FOLDER|FILE", line.paths,
                    std::string{"Folders with recordings, or recordings; by default "} +
                        DEFAULT_FOLDER)
        ->option_text(" ");
}

} // namespace

std::optional<command_line> read_command_line(int argc, const char* const* argv) {
    CLI::App parser;
    command_line line;
    describe(parser, line);
    try {
        parser.parse(argc, argv);
    } catch (const CLI::Success& wish) {
        parser.exit(wish); // prints the help or the version
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        throw usage_error{error.what()};
    }
    return line;
}
