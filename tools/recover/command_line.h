// The command line of vtrdc-recover.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

struct command_line {
    bool is_dry_run = false;
    bool is_json = false;
    std::vector<std::string> paths; // folders and files; empty: the default folder
};

// The default folder: where the daemon records by default.
inline constexpr const char* DEFAULT_FOLDER = "/media/video";

class usage_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Parses the command line. None after printing the help or the version. Throws usage_error if it is
// invalid.
[[nodiscard]] std::optional<command_line> read_command_line(int argc, const char* const* argv);
