// The command line of vtrdc-recover.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

struct command_line {
    bool is_dry_run = false;
    bool is_json = false;
    std::vector<std::string> paths; // folders and files; none for the default folder
};

// The folder of the recordings, unless others are named: where the daemon writes them by default.
inline constexpr const char* DEFAULT_FOLDER = "/media/video";

class usage_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Reads the command line. None when it asked for help or the version, which are written then; a
// usage_error when it can't be read.
[[nodiscard]] std::optional<command_line> read_command_line(int argc, const char* const* argv);
