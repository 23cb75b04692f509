// The daemon's command line: options, help text and version banner.
#include "core/cmdline.h"

#include "api/api.h"
#include "core/log.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <getopt.h>

#define VTRDC_VERSION_BANNER                                                                       \
    "ver:" VTRDC_VERSION                                                                           \
    "(Lumen demo), date:2024-09-27 09:30:56, git:7116803, type:release, build:dirty"

const char* const version_banner = VTRDC_VERSION_BANNER;

namespace {

constexpr const char* short_options = "c:l:p:dvhf";

constexpr std::array long_options = std::to_array<option>({
    {"conf_file", required_argument, nullptr, 'c'},
    {"log_file", required_argument, nullptr, 'l'},
    {"pid_file", required_argument, nullptr, 'p'},
    {"daemon", no_argument, nullptr, 'd'},
    {"verbose", no_argument, nullptr, 'v'},
    {"help", no_argument, nullptr, 'h'},
    {nullptr, 0, nullptr, 0},
});

void print_help(const char* app_name) {
    std::printf("Vantor Device controller " VTRDC_VERSION_BANNER "\n"
                "Usage: %s [OPTIONS]\n\n"
                "  Options:\n"
                "   -h --help                 Print this help\n"
                "   -c --conf_file filename   Read configuration from the file\n"
                "   -l --log_file  filename   Write logs to the file\n"
                "   -d --daemon               Daemonize this application\n"
                "   -p --pid_file  filename   PID file used by daemonized app\n"
                "   -v --verbose              Enable debug level log messages\n"
                "   -f --profile              Enable the video profiler elements\n"
                "\n",
                app_name);
    if (const malloc_text commands = api_get_help()) {
        std::printf("  Client commands:\n%s", commands.get());
    }
}

void apply_option(cmdline_options& options, int letter) {
    switch (letter) {
    case 'c':
        options.conf_file_name = optarg;
        break;
    case 'l':
        options.log_file_name = optarg;
        break;
    case 'p':
        options.pid_file_name = optarg;
        break;
    case 'd':
        options.start_daemonized = true;
        break;
    case 'v':
        log_verbose = 1;
        break;
    case 'f':
        options.profile = true;
        break;
    default:
        print_help(options.app_name);
        std::exit(letter == 'h' ? EXIT_SUCCESS : EXIT_FAILURE);
    }
}

} // namespace

cmdline_options parse_cmdline_opts(int argc, char* argv[]) {
    cmdline_options options;
    options.app_name = argv[0];
    for (;;) {
        const int letter = getopt_long(argc, argv, short_options, long_options.data(), nullptr);
        if (letter == -1) {
            return options;
        }
        apply_option(options, letter);
    }
}
